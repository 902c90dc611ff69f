// The end of a run of plain bytes in a JSON string. Most bytes of a text are in such runs, so that
// they are searched many at a time.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace foundation::json::detail {

// Sets the highest bit of each byte of the result where the byte of `word` equals `byte`. Only the
// lowest of the marks is certain.
[[nodiscard]] constexpr std::uint64_t bytes_equal_to(std::uint64_t word, char byte) noexcept {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    const std::uint64_t difference = word ^ (ones * static_cast<unsigned char>(byte));
    return (difference - ones) & ~difference & (ones << 7U);
}

// The same for bytes below 0x20.
[[nodiscard]] constexpr std::uint64_t control_bytes(std::uint64_t word) noexcept {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    return (word - ones * 0x20U) & ~word & (ones << 7U);
}

// Returns the first `byte` from `first` to `last`, and `last` if there is none.
[[nodiscard]] inline const char* find_byte(char byte, const char* first,
                                           const char* last) noexcept {
    const void* const found = std::memchr(first, byte, static_cast<std::size_t>(last - first));
    return found == nullptr ? last : static_cast<const char*>(found);
}

// Returns the first byte that the writer escapes (a quote, a backslash, or a byte below 0x20), and
// `last` if there is none.
[[nodiscard]] inline const char* find_byte_to_escape(const char* first, const char* last) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        for (std::uint64_t word = 0; last - first >= std::ptrdiff_t(sizeof word);
             first += sizeof word) {
            std::memcpy(&word, first, sizeof word);
            const std::uint64_t marks =
                bytes_equal_to(word, '"') | bytes_equal_to(word, '\\') | control_bytes(word);
            if (marks != 0)
                return first + std::countr_zero(marks) / 8;
        }
    }
    while (first != last && *first != '"' && *first != '\\' &&
           static_cast<unsigned char>(*first) >= 0x20)
        ++first;
    return first;
}

} // namespace foundation::json::detail
