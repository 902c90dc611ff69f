// Changes of an install tree, from the arguments of InstallTree to the disk.

#pragma once

#include "install/tree/change/journal.hpp"
#include "install/tree/change/locked_tree.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/layout.hpp"

#include <memory>
#include <vector>

namespace install::tree {

// A change that is staged, and the lock of its tree.
struct StagedChange {
    StagedChange(Directory directory, const Options& options)
        : tree(std::move(directory), options),
          journal(tree.appdata, tree.lock, options.durability, options.on_progress) {}

    LockedTree tree;
    Journal journal;
    std::vector<InstalledProduct> removed; // with the basecodes that are
};

// Each throws what the operation of InstallTree throws, or std::bad_alloc.
[[nodiscard]] std::unique_ptr<StagedChange>
prepare_change(const Layout& layout, const Options& options, const Change& change);
bool recover_tree(const Layout& layout, const Options& options);

} // namespace install::tree
