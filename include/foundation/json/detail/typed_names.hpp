/// \file
/// The names of the integer types that the member "kxtype" of a typed numeric value can hold. The
/// width in a name sets no range; only the sign counts. Shared by the reader and the writer.

#pragma once

#include <string>

namespace foundation::json::detail {

/// True for the names of signed types: their numbers are read as long long.
[[nodiscard]] inline bool is_signed_typed_name(const std::string& name) noexcept {
    return name == "int64" || name == "int32" || name == "int16" || name == "int8";
}

/// True for the names of unsigned types: their numbers are read as unsigned long long.
[[nodiscard]] inline bool is_unsigned_typed_name(const std::string& name) noexcept {
    return name == "uint64" || name == "uint32" || name == "uint16" || name == "uint8";
}

/// True for the names of all types, signed or not. Every other name leaves numbers what they are
/// elsewhere: double.
[[nodiscard]] inline bool is_typed_name(const std::string& name) noexcept {
    return is_signed_typed_name(name) || is_unsigned_typed_name(name);
}

} // namespace foundation::json::detail
