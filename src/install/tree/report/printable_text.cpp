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

// `text` is well-formed UTF-8.
template <class Escape>
void append_well_formed(std::string& result, std::string_view text, const Escape& escape) {
    for (const char* position = text.begin(); position != text.end();) {
        const char* const first = position;
        const std::uint32_t character = utf8::unchecked::next(position);
        if (is_control(character) || rearranges_text(character))
            result += escape(character);
        else
            result.append(first, position);
    }
}

// `escape` is called with each character that a terminal obeys, `escape_byte` with each byte that
// is no UTF-8.
template <class Escape, class EscapeByte>
std::string escaped(std::string_view text, const Escape& escape, const EscapeByte& escape_byte) {
    std::string result;
    result.reserve(text.size());
    for (;;) {
        const auto size =
            static_cast<std::size_t>(utf8::find_invalid(text.begin(), text.end()) - text.begin());
        append_well_formed(result, text.substr(0, size), escape);
        if (size == text.size())
            return result;
        result += escape_byte(static_cast<unsigned char>(text[size]));
        text.remove_prefix(size + 1);
    }
}

} // namespace

std::string printable_text(std::string_view text) {
    const auto byte = [](unsigned value) { return formatted("\\x%02x", value); };
    return escaped(
        text,
        [&](unsigned character) {
            return character < 0x80 ? byte(character) : formatted("\\u{%x}", character);
        },
        byte);
}

// All that a terminal obeys is in the Basic Multilingual Plane, and in strings. A line end after
// the text is no part of it.
std::string printable_json(std::string_view json) {
    return escaped(
        json, [](unsigned character) { return formatted("\\u%04x", character); },
        [](unsigned value) { return formatted("\\u%04x", 0xDC00 + value); });
}

} // namespace install::tree
