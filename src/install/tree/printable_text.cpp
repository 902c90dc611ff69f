#include "install/tree/printable_text.hpp"

#include <utf8.h>

#include <array>
#include <cstdint>
#include <cstdio>

namespace install::tree {

namespace {

bool is_control(std::uint32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

// Whether a terminal shows the characters after it in another order, or breaks the line.
bool rearranges_text(std::uint32_t character) {
    return character == 0x061C || character == 0x200E || character == 0x200F ||
           (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}

void append_byte(std::string& result, char byte) {
    result += formatted("\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
}

// `text` is well-formed UTF-8.
void append_well_formed(std::string& result, std::string_view text) {
    for (const char* position = text.begin(); position != text.end();) {
        const char* const first = position;
        const std::uint32_t character = utf8::unchecked::next(position);
        if (character < 0x80 && is_control(character))
            append_byte(result, *first);
        else if (is_control(character) || rearranges_text(character))
            result += formatted("\\u{%x}", static_cast<unsigned>(character));
        else
            result.append(first, position);
    }
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (;;) {
        const auto size =
            static_cast<std::size_t>(utf8::find_invalid(text.begin(), text.end()) - text.begin());
        append_well_formed(result, text.substr(0, size));
        if (size == text.size())
            return result;
        append_byte(result, text[size]);
        text.remove_prefix(size + 1);
    }
}

} // namespace install::tree
