// What an interrupted change left.

#pragma once

#include "install/tree/change.hpp"
#include "install/tree/file_system.hpp"

namespace install::tree {

enum class Leftover { none, dropped, taken_back };

// Takes a change back that was under way when it was interrupted, and drops one that was not, or
// was complete. The caller holds the lock. Throws tree_error.
Leftover recover(const Directory& appdata, Durability durability);

// Returns what recover would do.
[[nodiscard]] Leftover leftover_in(const Directory& appdata);

} // namespace install::tree
