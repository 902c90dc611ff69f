/// \file
/// Classification of ASCII characters, independent of any locale.
///
/// The argument is a char that was widened with its sign: bytes from 0x80 up arrive far above the
/// ASCII range and belong to no class. Inline, since the JSON reader asks for every byte.

#pragma once

/// Classes of ASCII characters.
namespace fl::i18n::lcctype {

/// True for 0 to 9.
[[nodiscard]] constexpr bool isdigit_ascii(char32_t character) noexcept {
    return character >= U'0' && character <= U'9';
}

/// True for space, tab, line feed, vertical tab, form feed and carriage return.
[[nodiscard]] constexpr bool isspace_ascii(char32_t character) noexcept {
    return character == U' ' || (character >= U'\t' && character <= U'\r');
}

} // namespace fl::i18n::lcctype
