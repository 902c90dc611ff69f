// Strings as the writer quotes them.

#pragma once

#include "text_buffer.hpp"

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace foundation::json {

// Quote, backslash, and bytes below 0x20.
constexpr bool must_be_escaped(char byte) {
    return byte == '"' || byte == '\\' || static_cast<unsigned char>(byte) < 0x20;
}

// Whether any of the eight bytes at `first` must be escaped.
inline bool has_byte_to_escape(const char* first) {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    std::uint64_t word = 0;
    std::memcpy(&word, first, sizeof word);
    const std::uint64_t quotes = word ^ (ones * '"');
    const std::uint64_t backslashes = word ^ (ones * '\\');
    // A byte that is looked for lets its subtraction borrow, which sets the highest bit.
    return ((((quotes - ones) & ~quotes) | ((backslashes - ones) & ~backslashes) |
             ((word - ones * 0x20U) & ~word)) &
            (ones << 7U)) != 0;
}

// Returns the first byte from `first` to `last` that must be escaped, and `last` if there is none.
// Most strings have none, so that they are looked at eight bytes at a time.
inline const char* find_byte_to_escape(const char* first, const char* last) {
    constexpr std::ptrdiff_t word = sizeof(std::uint64_t);
    if (last - first >= word) {
        while (last - first > word && !has_byte_to_escape(first))
            first += word;
        // The rest with bytes before it, which were looked at already.
        if (last - first <= word && !has_byte_to_escape(last - word))
            return last;
    }
    while (first != last && !must_be_escaped(*first))
        ++first;
    return first;
}

inline char* put_escaped(char* out, char byte) {
    constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    constexpr std::string_view hex_digits = "0123456789abcdef";
    *out++ = '\\';
    if (const auto index = escaped.find(byte); index != std::string_view::npos) {
        *out++ = letters[index];
        return out;
    }
    for (const char digit : {'u', '0', '0', hex_digits[static_cast<unsigned char>(byte) / 16U],
                             hex_digits[static_cast<unsigned char>(byte) % 16U]})
        *out++ = digit;
    return out;
}

inline void append_quoted(TextBuffer& text, std::string_view string) {
    constexpr std::size_t longest_escape = 6;
    const char* position = string.data();
    const char* const end = position + string.size();
    char* out = text.make_room(string.size() + 2);
    *out++ = '"';
    for (;;) {
        const char* const run_end = find_byte_to_escape(position, end);
        out = std::copy(position, run_end, out);
        if (run_end == end)
            break;
        text.write_to(out);
        position = run_end + 1;
        out = text.make_room(longest_escape + static_cast<std::size_t>(end - position) + 1);
        out = put_escaped(out, *run_end);
    }
    *out++ = '"';
    text.write_to(out);
}

} // namespace foundation::json
