// What a removal did, or would do.

#pragma once

#include "install/tree/change.hpp"
#include "install/tree/install_tree.hpp"
#include "root.hpp"

#include <string>
#include <vector>

namespace kxtree {

struct Removal {
    std::vector<install::tree::InstalledProduct> products; ///< with the basecodes that go, too
    std::vector<std::string> documents;                    ///< paths of files
    bool done = false;                                     ///< otherwise it was a dry run
};

/// Returns what a prepared change will remove.
[[nodiscard]] Removal removal_of(const install::tree::PreparedChange& change);

/// Returns what a change would remove, without the lock and the right to write that it takes to
/// prepare one. The keys are those of entries of `listing`, or of entries that are no lists.
[[nodiscard]] Removal expected_removal(const Root& root, const install::tree::Listing& listing,
                                       std::vector<install::tree::InstalledProduct> products);

} // namespace kxtree
