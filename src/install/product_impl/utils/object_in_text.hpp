#pragma once

#include "foundation/json/value.hpp"

#include <string>

namespace install::product_impl::utils {

/// Gives the members of the object that `text` begins with. Raises as getJsonObjFromFile does.
[[nodiscard]] foundation::json::ValueMap object_in_text(const std::string& text);

} // namespace install::product_impl::utils
