// What a repair of a tree does, and what it leaves as it is.

#pragma once

#include "install/tree/repair.hpp"
#include "install/tree/state/found_tree.hpp"

namespace install::tree {

struct RepairPlan {
    FoundTree tree; // with what the repair changes
    RepairReport report;
};

// Lost entries come from where it is certain that they were: the whole members of the damaged file
// itself, receipts, the last good version. Names of documents come last, and only where no receipts
// could know better. Throws tree_error if something cannot be read of which an entry might come, or
// if what the repair would write could not be read back.
[[nodiscard]] RepairPlan plan_repair(FoundTree tree);

} // namespace install::tree
