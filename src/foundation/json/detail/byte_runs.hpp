// The end of a run of plain bytes in a JSON string. Most bytes of a text are in such runs, so that
// they are searched eight bytes at a time.

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

// Returns the first byte from `first` to `last` for which `ends_run` is true, and `last` if there
// is none. `mark_ends` does the same for a word: it marks the lowest such byte by its highest bit,
// and returns 0 if there is none.
template <class MarkEnds, class EndsRun>
[[nodiscard]] inline const char* find_end_of_run(const char* first, const char* last,
                                                 const MarkEnds& mark_ends,
                                                 const EndsRun& ends_run) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        for (std::uint64_t word = 0; last - first >= std::ptrdiff_t(sizeof word);
             first += sizeof word) {
            std::memcpy(&word, first, sizeof word);
            if (const std::uint64_t marks = mark_ends(word); marks != 0)
                return first + std::countr_zero(marks) / 8;
        }
    }
    while (first != last && !ends_run(*first))
        ++first;
    return first;
}

// Returns the first quote or backslash from `first` to `last`, and `last` if there is none. The
// reader stops at no other byte of a string.
[[nodiscard]] inline const char* find_quote_or_backslash(const char* first,
                                                         const char* last) noexcept {
    return find_end_of_run(
        first, last,
        [](std::uint64_t word) { return bytes_equal_to(word, '"') | bytes_equal_to(word, '\\'); },
        [](char byte) { return byte == '"' || byte == '\\'; });
}

// Returns the first byte that the writer escapes (a quote, a backslash, or a byte below 0x20), and
// `last` if there is none.
[[nodiscard]] inline const char* find_byte_to_escape(const char* first, const char* last) noexcept {
    return find_end_of_run(
        first, last,
        [](std::uint64_t word) {
            return bytes_equal_to(word, '"') | bytes_equal_to(word, '\\') | control_bytes(word);
        },
        [](char byte) {
            return byte == '"' || byte == '\\' || static_cast<unsigned char>(byte) < 0x20;
        });
}

} // namespace foundation::json::detail
