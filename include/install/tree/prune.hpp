/// \file
/// Removal of the documents that nobody lists.

#pragma once

#include "fl/export.hpp"
#include "install/tree/change.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/repair.hpp"
#include "install/ustring.hpp"

#include <string>
#include <vector>

namespace install::tree {

/// What a prune removed, or would remove.
struct PruneReport {
    /// The paths of the documents, in the encoding of the file system; not printable as they stand.
    std::vector<std::string> documents;
    std::vector<Fault> notes; ///< what no entry lists, and stays nevertheless: why
};

/// Removes the documents from the tree at `installRoot` that no member of the contents map lists
/// and no current receipt has, as one change. They are left by products that are gone, by writes
/// that failed before they came to the entry, and by earlier selections of products that are still
/// installed. Only regular files below `appdata/products` whose names end in `.xml` are documents;
/// anything else stays, and so do folders. A dry run takes no lock.
///
/// An interrupted change is rolled back first. Throws as InstallTree does; also tree_error, and
/// removes nothing, while it is not certain which documents somebody needs: the contents map or the
/// installed record is missing, they have each other's place, a shared file or a folder cannot be
/// read or is damaged, an entry of the contents map is not a list, or the map has text that is not
/// UTF-8 or a key twice. `repair` helps against most of these.
KX_EXPORT PruneReport prune(const ustring& installRoot, RepairMode mode = RepairMode::dry_run,
                            const Options& options = {});

} // namespace install::tree
