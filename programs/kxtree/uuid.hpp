// Names that nobody else has.

#pragma once

#include <string>

namespace kxtree {

/// Returns a random UUID (version 4), in 36 characters. Throws std::system_error if the system has
/// no random numbers.
[[nodiscard]] std::string random_uuid();

} // namespace kxtree
