/// \file
/// Small conversions that the JSON reader uses.

#pragma once

#include "fl/export.hpp"

#include <string>

namespace foundation::json::detail {

/// A position in the text that is read.
using Iterator = std::string::const_iterator;

/// Returns the bytes from `first` to `last`, without that at `last`. Throws std::bad_alloc.
[[nodiscard]] KX_EXPORT std::string get_utf8_string(Iterator first, Iterator last);

/// Returns the number that the NUL-terminated `token` represents, correctly rounded, whatever the
/// locale. Leading zeros are allowed. A number that is too large for a double becomes infinity with
/// the same sign; one that is too small becomes the nearest subnormal number or zero.
[[nodiscard]] KX_EXPORT double string_to_double(const char* token) noexcept;

/// Returns the `count` UTF-16 units at `units` in UTF-8. An unpaired surrogate becomes U+FFFD.
/// Throws std::bad_alloc.
[[nodiscard]] KX_EXPORT std::string u16_to_u8(const char16_t* units, int count);

} // namespace foundation::json::detail
