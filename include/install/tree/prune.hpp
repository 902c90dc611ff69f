/// \file
/// Removal of the documents that no entry lists.

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
    std::vector<Fault> notes; ///< what stays although no entry lists it, and why
};

/// Removes, as one change, the documents of the tree at `installRoot` that no member of the
/// contents map lists and no current receipt names. Such documents are left by products that are
/// gone, by writes that failed before they came to the entry, and by earlier selections of products
/// that are still installed. Only regular files below `appdata/products` whose names end in `.xml`
/// are documents; anything else stays, and so do folders. A dry run takes no lock.
///
/// An interrupted change is rolled back first; a dry run reads the tree as if it were. Throws as
/// InstallTree does. Also throws tree_error, and removes nothing, while it is not certain which
/// documents are needed:
///
/// - the contents map or the installed record is missing, or each is in the place of the other;
/// - a shared file or a folder cannot be read, or a shared file is damaged;
/// - an entry of the contents map is not a list;
/// - the contents map has a key twice, or strings that are not UTF-8.
///
/// `repair` helps against most of these.
KX_EXPORT PruneReport prune(const ustring& installRoot, RepairMode mode = RepairMode::dry_run,
                            const Options& options = {});

} // namespace install::tree
