#include "foundation/json/detail/byte_runs.hpp"
#include "foundation/json/detail/parser.hpp"

#include <memory>

namespace foundation::json::detail {

namespace {

// Reads from after the opening quote to after the closing one. Nearly all strings are plain up to
// the next quote.
parse_result read_string_content(std::string& text, Iterator& pos, const Iterator& end) {
    const char* const first = std::to_address(pos);
    const char* const last = std::to_address(end);
    const char* quote = find_byte('"', first, last);
    const char* const plain_end = find_byte('\\', first, quote);
    text.assign(first, plain_end);
    pos += plain_end - first;
    while (std::to_address(pos) != quote) {
        const parse_result result = read_escaped_content(text, pos, end, quote);
        if (result != parse_ok)
            return result;
        if (std::to_address(pos) > quote) // it was escaped
            quote = find_byte('"', std::to_address(pos), last);
    }
    if (pos == end)
        return parse_end_of_input;
    ++pos;
    return parse_ok;
}

} // namespace

parse_result read_string_element(std::string& text, Iterator& pos, const Iterator& end) {
    if (pos == end)
        return parse_end_of_input;
    if (*pos == '"')
        return parse_string_end;
    if (*pos == '\\')
        return read_escaped_content(text, pos, end, std::to_address(pos) + 1);
    text += *pos;
    ++pos;
    return parse_ok;
}

parse_result read_string_here(std::string& out, Iterator& pos, const Iterator& end) {
    if (pos == end)
        return parse_end_of_input;
    if (*pos != '"')
        return parse_no_opening_quote;
    ++pos;
    return read_string_content(out, pos, end);
}

parse_result read_string(std::string& out, Iterator& pos, const Iterator& end,
                         bool /*allow_comments*/) {
    std::string text;
    const parse_result result = read_string_here(text, pos, end);
    if (result == parse_ok)
        out.swap(text);
    return result;
}

parse_result parse_string(Value& out, Iterator& pos, const Iterator& end, bool /*allow_comments*/) {
    Value value((std::string()));
    const parse_result result = read_string_here(value.get<std::string>(), pos, end);
    if (result == parse_ok)
        store_value(out, value);
    return result;
}

} // namespace foundation::json::detail
