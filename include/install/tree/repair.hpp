/// \file
/// Repair of an install tree.

#pragma once

#include "fl/export.hpp"
#include "install/ustring.hpp"

#include <string>
#include <vector>

namespace install::tree {

/// Whether a repair changes the tree.
enum class RepairMode {
    dry_run, ///< only returns what it would do
    apply,   ///< does it
};

/// One thing that a repair does.
struct RepairStep {
    std::string
        path; ///< of the file, in the encoding of the file system; not printable as it stands
    std::string text; ///< what is done to it: a sentence in UTF-8, printable
};

/// Repairs the tree at `installRoot` as one change, which is done as a whole or not at all, and
/// returns its steps; none for a tree that needs no repair.
///
/// An interrupted change is finished or dropped first. Of a damaged shared file every whole member
/// is kept, and the file itself as NAME.damaged. Entries of the contents map that are lost come
/// from its last good version, NAME.old, if their documents are still there, and otherwise from the
/// names of the documents; lost entries of the installed record come from its NAME.old. In a file
/// that is not damaged, nothing is changed but entries added for documents that no entry knows.
///
/// Throws as InstallTree does.
KX_EXPORT std::vector<RepairStep> repair(const ustring& installRoot,
                                         RepairMode mode = RepairMode::dry_run);

} // namespace install::tree
