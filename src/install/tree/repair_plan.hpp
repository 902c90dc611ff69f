// What a repair of a tree does, and what it leaves as it is.

#pragma once

#include "install/tree/repair.hpp"
#include "install/tree/state/found_tree.hpp"

namespace install::tree {

struct RepairPlan {
    FoundTree tree; // as the repair leaves it
    RepairReport report;
};

// Restores what can be proved: see repair. Throws tree_error if something cannot be read of which
// an entry might come, or if what the repair would write could not be read back.
[[nodiscard]] RepairPlan plan_repair(FoundTree tree);

} // namespace install::tree
