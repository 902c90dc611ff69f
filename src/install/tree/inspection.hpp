// What is wrong with a found tree.

#pragma once

#include "install/tree/health.hpp"
#include "install/tree/state/found_tree.hpp"

namespace install::tree {

// Inspects a tree as it was found, or as a repair would leave it.
[[nodiscard]] Health inspect(const FoundTree& tree, const InspectOptions& options = {});

} // namespace install::tree
