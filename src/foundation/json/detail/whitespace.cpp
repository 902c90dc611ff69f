#include "foundation/json/detail/parser.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace foundation::json::detail {

namespace {

void skip_spaces(Iterator& pos, const Iterator& end) {
    while (pos != end && fl::i18n::lcctype::isspace_ascii(static_cast<char32_t>(*pos)))
        ++pos;
}

// Returns what ends the comment that a slash and this byte open; empty if they open none.
constexpr std::string_view comment_terminator(char second_byte) {
    switch (second_byte) {
    case '/':
        return "\n";
    case '*':
        return "*/";
    default:
        return {};
    }
}

// Moves `pos` past the comment that begins there, and returns whether there is one. The bytes that
// open a comment do not end it: after a slash, a star and a slash it is still open.
bool skip_comment(Iterator& pos, const Iterator& end) {
    if (pos == end || *pos != '/' || std::next(pos) == end)
        return false;
    const std::string_view terminator = comment_terminator(*std::next(pos));
    if (terminator.empty())
        return false;
    pos = std::search(pos + 2, end, terminator.begin(), terminator.end());
    if (pos != end)
        pos += static_cast<std::ptrdiff_t>(terminator.size());
    return true;
}

} // namespace

void skip_all_whitespace(Iterator& pos, const Iterator& end, bool allow_comments) {
    do
        skip_spaces(pos, end);
    while (allow_comments && skip_comment(pos, end));
}

} // namespace foundation::json::detail
