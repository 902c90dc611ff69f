/// \file
/// The one way from a file to a JSON object.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/value.hpp"
#include "install/ustring.hpp"

namespace install::product_impl::utils {

/// Gives the members of the object that the file at `path` begins with; text behind it is not
/// looked at. Comments are not accepted, nor is anything in front of the object.
///
/// Raises std::runtime_error: "invalid conversion: undefined to object" where no value could be
/// read (no file, an empty one, or a damaged one), and with the name of the alternative that was
/// read where it is no object. Raises as readFile does.
[[nodiscard]] KX_EXPORT foundation::json::ValueMap getJsonObjFromFile(const ustring& path);

} // namespace install::product_impl::utils
