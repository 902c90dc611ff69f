/// \file
/// The end of a run of plain bytes in a JSON string. Most bytes of a text are in such runs, so that
/// reader and writer search them many at a time.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace foundation::json::detail {

/// Returns the first `byte` from `first` to `last`, and `last` if there is none.
[[nodiscard]] inline const char* find_byte(char byte, const char* first,
                                           const char* last) noexcept {
    const void* const found = std::memchr(first, byte, static_cast<std::size_t>(last - first));
    return found == nullptr ? last : static_cast<const char*>(found);
}

/// Whether the writer escapes `byte` in a string: a quote, a backslash, or a byte below 0x20.
[[nodiscard]] constexpr bool must_be_escaped(char byte) noexcept {
    return byte == '"' || byte == '\\' || static_cast<unsigned char>(byte) < 0x20;
}

/// Marks the bytes of `word` that must be escaped by their highest bits. A borrow may mark more
/// bytes, but only above one that is marked rightly.
[[nodiscard]] constexpr std::uint64_t mark_bytes_to_escape(std::uint64_t word) noexcept {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    const std::uint64_t quotes = word ^ (ones * '"');
    const std::uint64_t backslashes = word ^ (ones * '\\');
    return (((quotes - ones) & ~quotes) | ((backslashes - ones) & ~backslashes) |
            ((word - ones * 0x20U) & ~word)) &
           (ones << 7U);
}

/// Returns the first byte from `first` to `last` that must be escaped, and `last` if there is none.
[[nodiscard]] inline const char* find_byte_to_escape(const char* first, const char* last) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        for (std::uint64_t word = 0; last - first >= std::ptrdiff_t(sizeof word);
             first += sizeof word) {
            std::memcpy(&word, first, sizeof word);
            if (const std::uint64_t marks = mark_bytes_to_escape(word); marks != 0)
                return first + std::countr_zero(marks) / 8;
        }
    }
    while (first != last && !must_be_escaped(*first))
        ++first;
    return first;
}

} // namespace foundation::json::detail
