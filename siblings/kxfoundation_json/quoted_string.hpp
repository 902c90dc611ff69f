// Strings as the writer quotes them.

#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace foundation::json {

// Quote, backslash, and bytes below 0x20.
constexpr bool must_be_escaped(char byte) {
    return byte == '"' || byte == '\\' || static_cast<unsigned char>(byte) < 0x20;
}

// Marks the bytes of `word` that must be escaped by their highest bits. A borrow may mark more
// bytes, but only above one that is marked rightly.
constexpr std::uint64_t mark_bytes_to_escape(std::uint64_t word) {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    const std::uint64_t quotes = word ^ (ones * '"');
    const std::uint64_t backslashes = word ^ (ones * '\\');
    return (((quotes - ones) & ~quotes) | ((backslashes - ones) & ~backslashes) |
            ((word - ones * 0x20U) & ~word)) &
           (ones << 7U);
}

// Returns the first byte from `first` to `last` that must be escaped, and `last` if there is none.
// Most strings have none, so that they are looked at eight bytes at a time.
inline const char* find_byte_to_escape(const char* first, const char* last) {
    std::uint64_t word = 0;
    for (; last - first >= std::ptrdiff_t(sizeof word); first += sizeof word) {
        std::memcpy(&word, first, sizeof word);
        if (const std::uint64_t marks = mark_bytes_to_escape(word); marks != 0) {
            if constexpr (std::endian::native == std::endian::little)
                return first + std::countr_zero(marks) / 8;
            break;
        }
    }
    while (first != last && !must_be_escaped(*first))
        ++first;
    return first;
}

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
        const char* const run_end = find_byte_to_escape(position, end);
        text.append(position, run_end);
        if (run_end == end)
            break;
        append_escaped(text, *run_end);
        position = run_end + 1;
    }
    text += '"';
}

} // namespace foundation::json
