/// \file
/// Classification of ASCII characters, independent of any locale.
///
/// The argument may be a char that was converted to char32_t: bytes from 0x80 up belong to no
/// class, whether or not char is signed. The functions are inline because the JSON reader calls
/// them for every byte.

#pragma once

/// Classes of ASCII characters.
namespace fl::i18n::lcctype {

/// Returns whether `character` is a digit from 0 to 9.
[[nodiscard]] constexpr bool isdigit_ascii(char32_t character) noexcept {
    return character >= U'0' && character <= U'9';
}

/// Returns whether `character` is a space, tab, line feed, vertical tab, form feed or carriage
/// return.
[[nodiscard]] constexpr bool isspace_ascii(char32_t character) noexcept {
    return character == U' ' || (character >= U'\t' && character <= U'\r');
}

} // namespace fl::i18n::lcctype
