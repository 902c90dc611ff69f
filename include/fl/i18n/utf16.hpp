/// \file
/// Characters in UTF-16, one at a time.

#pragma once

namespace fl::i18n {

/// Whether `unit` is the first half of a surrogate pair.
[[nodiscard]] constexpr bool is_high_surrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xD800;
}

/// Whether `unit` is the second half of a surrogate pair.
[[nodiscard]] constexpr bool is_low_surrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xDC00;
}

/// Whether a unit, or a character, is half a surrogate pair. By itself it is not a character.
template <class Character>
[[nodiscard]] constexpr bool is_surrogate(Character character) noexcept {
    return (character & Character(~0x7FFU)) == 0xD800;
}

/// Returns the character at `position`, which must not be `end`, and moves `position` past it. An
/// unpaired surrogate is returned as it is.
[[nodiscard]] constexpr char32_t next_character(const char16_t*& position,
                                                const char16_t* end) noexcept {
    const char16_t unit = *position++;
    if (!is_high_surrogate(unit) || position == end || !is_low_surrogate(*position))
        return unit;
    return 0x10000U + ((unit & 0x3FFU) << 10U) + (*position++ & 0x3FFU);
}

} // namespace fl::i18n
