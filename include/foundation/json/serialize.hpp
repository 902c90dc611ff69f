/// \file
/// The JSON text of a value.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/traits.hpp"

#include <string>

namespace foundation::json {

/// Returns `value` as JSON text in UTF-8, without spaces and line ends. Whatever the reader made
/// reads back as the same value.
///
/// Members come in the order of the map. Integers are written in digits, and so is every double
/// that is a whole number below 2^53 in magnitude; minus zero is -0. Other doubles are the shortest
/// text that reads back equal, whatever the locale; infinity is 1e999 or -1e999. In strings the
/// quote, the backslash and bytes below 0x20 are escaped; all other bytes stay as they are.
///
/// Some values that only a program can build read back as others: a float as the equal double, NaN
/// and Undefined as null, an integer outside of "kxdata" as a double. An object whose "kxtype"
/// names an integer type and whose "kxdata" holds no integers is written as it is; the reader takes
/// its numbers for integers, or rejects it.
///
/// Throws std::bad_alloc and std::length_error.
[[nodiscard]] KX_EXPORT std::string serialize(const Value& value);

} // namespace foundation::json
