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

/// One step of a repair.
struct RepairStep {
    std::string
        path; ///< of the file, in the encoding of the file system; not printable as it stands
    std::string text; ///< what is done to it: a printable sentence in UTF-8
};

/// What a repair did, or would do.
struct RepairReport {
    std::vector<RepairStep> steps; ///< none for a tree that needs no repair
    std::vector<Fault> notes;      ///< what it leaves as it is, and why
    std::vector<Fault> remaining;  ///< the problems after it, as inspect finds them
    Listing listing;               ///< the entries after it
};

/// Repairs the tree at `installRoot` as one change, which is made completely or not at all. The
/// tree is locked from the first read to the last write. A dry run takes no lock, and reads the
/// tree as if an interrupted change had been rolled back.
///
/// An interrupted change is rolled back or dropped first. Then only what can be proved is restored:
///
/// - Every whole member of a damaged shared file is kept. The file itself is kept as NAME.damaged,
///   or NAME.damaged.1 and so on if that exists.
/// - Lost entries of the contents map are restored from current receipts. Others are restored from
///   the last good version of the map, NAME.old, if all of their documents are there, because a
///   removal would have removed those, too. If there never were receipts, the names of documents
///   are the last source.
/// - Lost entries of the installed record, and those without a time, are restored from receipts.
///   Lost entries that no receipt names are restored from its NAME.old.
/// - An undamaged file lacks nothing: a document that it does not list is a problem that remains.
///
/// Throws as InstallTree does. Also throws tree_error if something that may be needed cannot be
/// read, because less would be restored than is possible, or if the repaired file could not be read
/// back.
KX_EXPORT RepairReport repair(const ustring& installRoot, RepairMode mode = RepairMode::dry_run,
                              const Options& options = {});

} // namespace install::tree
