/// \file
/// The JSON text of a value.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/traits.hpp"

#include <string>

namespace foundation::json {

/// Returns `value` as JSON text in UTF-8, without spaces and line ends. A value that the reader
/// made reads back as the same value.
///
/// Members come in the order of the map. Integers are written in digits, and so is every double
/// that is a whole number below 2^53 in magnitude; minus zero is -0. Other doubles are the shortest
/// text that reads back equal, whatever the locale; infinity is 1e999 or -1e999. In strings the
/// quote, the backslash and bytes below 0x20 are escaped; all other bytes stay as they are.
///
/// Some values that only a program can build read back as others: a float as the equal double, NaN
/// and Undefined as null. Integers read back as such only in an object with "kxtype" and "kxdata",
/// where the latter holds integers alone, either all signed or all unsigned; if "kxtype" names no
/// such type, a second one is written. Any other integer reads back as a double. But if "kxtype"
/// names an integer type, the reader reads all numbers of "kxdata" as integers of that type, and
/// rejects an object in which they are not integers.
///
/// Throws std::bad_alloc and std::length_error.
[[nodiscard]] KX_EXPORT std::string serialize(const Value& value);

} // namespace foundation::json
