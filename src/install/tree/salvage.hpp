// What can be saved of a damaged JSON object.

#pragma once

#include "foundation/json/value.hpp"

#include <string>

namespace install::tree {

// Returns the whole members at the beginning of `text`, which is an object up to some byte. A
// member is whole if a comma or the closing brace follows it: a number might go on otherwise. A
// byte order mark and whitespace before the object are skipped. Throws std::bad_alloc.
[[nodiscard]] foundation::json::ValueMap whole_members(const std::string& text);

} // namespace install::tree
