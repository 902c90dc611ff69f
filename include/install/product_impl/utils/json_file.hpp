/// \file
/// Reading a JSON object from a file.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/value.hpp"
#include "install/ustring.hpp"

namespace install::product_impl::utils {

/// Returns the members of the object at the beginning of the file at `path`. Trailing bytes are
/// ignored. Nothing, not even whitespace, may come before the object, and comments are not
/// accepted.
///
/// Throws std::runtime_error with "invalid conversion: undefined to object" if no value can be
/// read, because the file is missing, unreadable, empty or malformed. If the value is not an
/// object, the name of its alternative takes the place of "undefined". Throws as readFile does.
[[nodiscard]] KX_EXPORT foundation::json::ValueMap getJsonObjFromFile(const ustring& path);

} // namespace install::product_impl::utils
