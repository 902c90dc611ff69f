// Changes of an install tree, from the arguments of InstallTree to the disk.

#pragma once

#include "install/tree/disk/layout.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/journal/journal.hpp"
#include "install/tree/journal/recovery.hpp"

#include <memory>
#include <utility>
#include <vector>

namespace install::tree {

// A change that is staged, and the lock of its tree.
struct StagedChange {
    StagedChange(Directory directory, const Options& options)
        : tree(std::move(directory), options),
          journal(tree.appdata, tree.lock, options) {}

    LockedTree tree;
    Journal journal;
    std::vector<InstalledProduct> removed; // with the basecodes that are
};

// Throws what InstallTree::prepare throws.
[[nodiscard]] std::unique_ptr<StagedChange>
prepare_change(const Layout& layout, const Options& options, const Change& change);

} // namespace install::tree
