/// \file
/// Conversion between the two encodings of the installer: UTF-16 in its texts, UTF-8 in its files.
///
/// Both directions are strict. A replacement character in a path or a key would be a silent loss,
/// so that ill-formed text raises instead.

#pragma once

#include "fl/export.hpp"
#include "fl/i18n/ustring.hpp"

#include <cstddef>
#include <stdexcept>
#include <string>

/// Texts: their conversion, and the classes of their characters.
namespace fl::i18n {

/// A text that is not well-formed in its encoding. what() names the encoding and the offset.
class KX_EXPORT conversion_error : public std::runtime_error {
public:
    /// The fault at `offset`, in code units, of a text that was to be in `encoding`.
    conversion_error(const std::string& encoding, std::size_t offset);

    /// Defined in the library, which makes the type one and the same for all who catch it.
    ~conversion_error() override;

    /// Where the first fault begins, in code units of the text that was to be converted: bytes of
    /// UTF-8, 16-bit units of UTF-16.
    [[nodiscard]] std::size_t offset() const noexcept { return offset_; }

private:
    std::size_t offset_;
};

/// Gives `text` in UTF-8, U+0000 included. Raises conversion_error on an unpaired surrogate.
[[nodiscard]] KX_EXPORT std::string ustring_to_utf8(const ustring& text);

/// Gives the UTF-8 `text` in UTF-16, U+0000 included. Raises conversion_error on ill-formed UTF-8
/// (overlong forms and encoded surrogates too).
[[nodiscard]] KX_EXPORT ustring utf8_to_ustring(const std::string& text);

} // namespace fl::i18n
