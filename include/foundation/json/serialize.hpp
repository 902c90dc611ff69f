/// \file
/// The JSON text of a value.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/value.hpp"

#include <string>

namespace foundation::json {

/// Gives `value` as JSON text in UTF-8 that the reader turns into the same value: no spaces and no
/// line end, members in the order of the map, integers in digits, floating-point numbers as the
/// shortest text that reads back equal, whatever the locale. Infinity is written as 1e999 or
/// -1e999, NaN and Undefined as null. In strings the quote, the backslash and bytes below 0x20 are
/// escaped; all other bytes stay as they are. Raises std::bad_alloc and std::length_error.
[[nodiscard]] KX_EXPORT std::string serialize(const Value& value);

} // namespace foundation::json
