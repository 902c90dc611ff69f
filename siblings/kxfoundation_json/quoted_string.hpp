// Strings as the writer quotes them.

#pragma once

#include "foundation/json/detail/plain_bytes.hpp"

#include <string>
#include <string_view>

namespace foundation::json {

inline void append_escaped(std::string& text, char byte) {
    constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    constexpr std::string_view hex_digits = "0123456789abcdef";
    text += '\\';
    if (const auto index = escaped.find(byte); index != std::string_view::npos) {
        text += letters[index];
    } else {
        text += "u00";
        text += hex_digits[static_cast<unsigned char>(byte) / 16U];
        text += hex_digits[static_cast<unsigned char>(byte) % 16U];
    }
}

inline void append_quoted(std::string& text, std::string_view string) {
    const char* position = string.data();
    const char* const end = position + string.size();
    text += '"';
    for (;;) {
        const char* const run_end = detail::find_byte_to_escape(position, end);
        text.append(position, run_end);
        if (run_end == end)
            break;
        append_escaped(text, *run_end);
        position = run_end + 1;
    }
    text += '"';
}

} // namespace foundation::json
