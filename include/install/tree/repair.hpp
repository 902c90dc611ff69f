/// \file
/// Repair of an install tree.

#pragma once

#include "fl/export.hpp"
#include "install/tree/change.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/install_tree.hpp"
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

/// What a repair did, or would do.
struct RepairReport {
    std::vector<RepairStep> steps; ///< none for a tree that needs no repair
    std::vector<Fault> notes;      ///< what it leaves as it is, and why
    std::vector<Fault> remaining;  ///< the problems that there are after it, as inspect finds them
    Listing listing;               ///< the entries that there are after it
};

/// Repairs the tree at `installRoot` as one change, which is done as a whole or not at all. Then
/// the tree is locked from the first look to the last write; a dry run takes no lock.
///
/// An interrupted change is rolled back first. Of a damaged shared file every whole member is kept,
/// and the file itself as NAME.damaged, or NAME.damaged.1 and so on if there is one already.
/// Entries that the contents map has lost come from current receipts, and then from its last good
/// version, NAME.old, if their documents are all there, as a removal takes them along. Only where
/// there never were receipts they come from the names of documents. Lost entries of the installed
/// record, and those without a time, come from receipts, and then from its NAME.old. A file that is
/// whole lacks nothing: a document that it does not list is a problem that remains.
///
/// Throws as InstallTree does; also tree_error if something cannot be read that may be needed, as
/// less would be restored then than could be, or if what would be written could not be read back.
KX_EXPORT RepairReport repair(const ustring& installRoot, RepairMode mode = RepairMode::dry_run,
                              const Options& options = {});

} // namespace install::tree
