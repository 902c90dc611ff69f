// What the command prints for other programs.

#pragma once

#include "install/tree/health.hpp"

#include <string>

namespace kxtree {

/// Return one JSON object, in UTF-8, with a line end.
[[nodiscard]] std::string listing_as_json(const install::tree::Listing& listing);
[[nodiscard]] std::string health_as_json(const install::tree::Health& health);

} // namespace kxtree
