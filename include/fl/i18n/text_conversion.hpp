/// \file
/// Conversion between the two encodings of the installer: UTF-16 in memory, UTF-8 in files.
///
/// Both directions are strict: they throw on ill-formed input, because a replacement character
/// would silently change a path or a key.

#pragma once

#include "fl/export.hpp"
#include "fl/i18n/ustring.hpp"

#include <cstddef>
#include <stdexcept>
#include <string>

/// Strings: their conversion, and the classes of their characters.
namespace fl::i18n {

/// Reports a string that is ill-formed in its encoding. what() names the encoding and the offset.
class KX_EXPORT conversion_error : public std::runtime_error {
public:
    /// The error for a string that is ill-formed in `encoding`. The fault begins at `offset`, in
    /// code units.
    conversion_error(const std::string& encoding, std::size_t offset);

    /// Defined in the library, so that the type is the same in every module that catches it.
    ~conversion_error() override;

    /// Returns where the first fault begins, in code units of the source string: bytes of UTF-8,
    /// 16-bit units of UTF-16.
    [[nodiscard]] std::size_t offset() const noexcept { return offset_; }

private:
    std::size_t offset_;
};

/// Returns `text` in UTF-8. U+0000 is converted like any other character. Throws conversion_error
/// on an unpaired surrogate, and std::bad_alloc.
[[nodiscard]] KX_EXPORT std::string ustring_to_utf8(const ustring& text);

/// Returns the UTF-8 `text` in UTF-16. U+0000 is converted like any other character. Throws
/// conversion_error on ill-formed UTF-8, which includes overlong forms and encoded surrogates, and
/// std::bad_alloc.
[[nodiscard]] KX_EXPORT ustring utf8_to_ustring(const std::string& text);

} // namespace fl::i18n
