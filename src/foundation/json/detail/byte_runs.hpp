/// \file
/// Where a run of plain bytes in a JSON string ends. Reader and writer spend most of their time on
/// such runs, and take them eight bytes at a time.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace foundation::json::detail {

/// The bytes of a word, each with its highest bit set where the byte of `word` equals `byte`. Bytes
/// above the lowest that is marked may be marked wrongly.
[[nodiscard]] constexpr std::uint64_t bytes_equal_to(std::uint64_t word, char byte) noexcept {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    const std::uint64_t difference = word ^ (ones * static_cast<unsigned char>(byte));
    return (difference - ones) & ~difference & (ones << 7U);
}

/// The same for bytes below 0x20.
[[nodiscard]] constexpr std::uint64_t control_bytes(std::uint64_t word) noexcept {
    constexpr std::uint64_t ones = 0x0101010101010101U;
    return (word - ones * 0x20U) & ~word & (ones << 7U);
}

/// Gives the first place from `first` to `last` for whose byte `ends_run` holds, and `last` if
/// there is none. `mark_ends` marks the lowest of these bytes in a word by its highest bit, or
/// gives 0.
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

/// Gives the first quote or backslash from `first` to `last`, and `last` if there is none. They are
/// the only bytes that the reader looks for.
[[nodiscard]] inline const char* find_quote_or_backslash(const char* first,
                                                         const char* last) noexcept {
    return find_end_of_run(
        first, last,
        [](std::uint64_t word) { return bytes_equal_to(word, '"') | bytes_equal_to(word, '\\'); },
        [](char byte) { return byte == '"' || byte == '\\'; });
}

/// Gives the first byte that the writer must escape, and `last` if there is none: a quote, a
/// backslash, or a byte below 0x20.
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
