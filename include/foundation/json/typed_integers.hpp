/// \file
/// The names by which an object carries exact 64-bit integers:
///
///     {"kxdata":[18446744073709551615,7],"kxtype":"uint64"}
///
/// A plain JSON number becomes a double, which is exact up to 53 bits only. Where an object has
/// both members, the reader makes a long long or an unsigned long long of each element instead.
/// Both members stay in the object.

#pragma once

#include <string>

namespace foundation::json {

// Not inline: g++ would make them symbols that are unique in the process, which would keep a
// plug-in that reads them from being unloaded.

/// The key of the member that holds the array of integers.
constexpr const char* typed_data_key = "kxdata";

/// The key of the member that names their type.
constexpr const char* typed_type_key = "kxtype";

namespace detail {

/// True for the names of signed types, whose integers are read as long long. The width in a name
/// sets no range.
[[nodiscard]] inline bool is_signed_typed_name(const std::string& name) noexcept {
    return name == "int64" || name == "int32" || name == "int16" || name == "int8";
}

/// True for the names of unsigned types, whose integers are read as unsigned long long.
[[nodiscard]] inline bool is_unsigned_typed_name(const std::string& name) noexcept {
    return name == "uint64" || name == "uint32" || name == "uint16" || name == "uint8";
}

/// True for all eight names. With any other name, the numbers are double.
[[nodiscard]] inline bool is_typed_name(const std::string& name) noexcept {
    return is_signed_typed_name(name) || is_unsigned_typed_name(name);
}

} // namespace detail

} // namespace foundation::json
