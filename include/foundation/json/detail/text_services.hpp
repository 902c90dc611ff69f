/// \file
/// Small conversions that the JSON reader is built on.

#pragma once

#include "fl/export.hpp"

#include <string>

namespace foundation::json::detail {

/// A place in the text that is read.
using Iterator = std::string::const_iterator;

/// Gives the bytes from `first` up to `last`.
[[nodiscard]] KX_EXPORT std::string get_utf8_string(Iterator first, Iterator last);

/// Gives the number that the NUL-terminated `token` stands for: correctly rounded, in any locale,
/// leading zeros allowed. Beyond the range of a double it is infinity with the token's sign, below
/// the smallest double the nearest of the small values, zero among them.
[[nodiscard]] KX_EXPORT double string_to_double(const char* token) noexcept;

/// Gives `count` UTF-16 units as UTF-8. An unpaired surrogate becomes U+FFFD.
[[nodiscard]] KX_EXPORT std::string u16_to_u8(const char16_t* units, int count);

} // namespace foundation::json::detail
