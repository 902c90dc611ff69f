/// \file
/// Changes of an install tree that survive crashes, full disks and other installers.
///
///     InstallTree tree(u"/opt/kit");
///     tree.write({{product, {"hostpf"}, "en"}, {another, {"hostpf"}, "en"}});
///     for (const ContentsEntry& entry : tree.list().contents)
///         std::cout << entry.key << '\n';
///
/// ProductImpl::serialize writes one product, in-place, and reports nothing of a failed write.
/// InstallTree leaves the same files, for any number of products at once, and each change of it is
/// done as a whole or not at all, even if the process is killed or the power fails.
/// docs/install-tree.md describes the files `.lock`, `.staging`, `.commit` and `NAME.old`, which it
/// adds to the tree.
///
/// Operations that change a tree wait for each other, in all threads and processes. Those that only
/// read need not wait, because every file is replaced by renaming.
///
/// A failure throws tree_error, also where memory is exhausted; std::bad_alloc if there is none
/// left to report that. A path, a name or a version that no file can have throws what
/// install/product_impl/utils/paths.hpp and files.hpp say. The tree is then as it was, unless
/// tree_error::is_committed() returns true.

#pragma once

#include "fl/export.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/tree_error.hpp"
#include "install/ustring.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace install::tree {

/// A product, and which of its documents to write.
struct ProductSelection {
    std::shared_ptr<const product_impl::ProductImpl> product; ///< not null
    std::vector<std::string> platforms; ///< tags in UTF-8; those without a document are skipped
    std::string locale;                 ///< a tag in UTF-8; skipped if it has no document
};

/// The entries of an installed product. Neither can be derived from the other.
struct InstalledProduct {
    std::string key;                     ///< of the contents map, in UTF-8, with its tag "hostpf"
    std::optional<std::string> basecode; ///< of the installed record; without it that is unchanged
};

/// An entry of the contents map.
struct ContentsEntry {
    std::string key;                ///< the product key, with the tag "hostpf", in UTF-8
    std::vector<std::string> paths; ///< of its documents, relative to the install root
};

/// An entry of the installed record.
struct RecordEntry {
    std::string basecode;                                  ///< in UTF-8
    std::chrono::sys_time<std::chrono::milliseconds> time; ///< of the last write
};

/// The entries of both shared files, in the order of their keys. Members of another form, which
/// other programs may have added, are not in it.
struct Listing {
    std::vector<ContentsEntry> contents; ///< of the contents map
    std::vector<RecordEntry> record;     ///< of the installed record
};

/// An install tree on disk. Objects for the same tree need not know of each other; threads may
/// share one.
class KX_EXPORT InstallTree {
public:
    /// A point in time as the installed record holds it.
    using Time = std::chrono::sys_time<std::chrono::milliseconds>;

    /// The tree at `installRoot`. Touches nothing yet. Throws std::bad_alloc, and what readFile
    /// throws for a path that no file can have.
    explicit InstallTree(ustring installRoot);

    /// Calls `observer` before a change waits for another one, with the process that makes it; 0 if
    /// that is not known. What the observer throws ends the change.
    void on_wait(std::function<void(std::int64_t process)> observer);

    /// Writes all of `selections`, or nothing. Afterwards the tree is what serialize of each in
    /// order would have left, byte for byte except for the times, which are all the same, and
    /// everything is on the disk. Missing directories are created. An override of writeXml in a
    /// derived product is not called.
    ///
    /// Throws tree_error with the message of getJsonObjFromFile if a shared file holds no object,
    /// and std::invalid_argument if a product is null.
    void write(const std::vector<ProductSelection>& selections);

    /// Removes the entries of all of `products`, and those of their documents that no other entry
    /// lists and that are in the directory of the documents; or nothing. Throws tree_error if an
    /// entry does not exist.
    void remove(const std::vector<InstalledProduct>& products);

    /// Returns what is missing, empty or different in the tree, compared with a write of
    /// `selections`; and what is old, which is an entry of the installed record with a time before
    /// `since`. Nothing if the tree holds all of it. Changes nothing.
    [[nodiscard]] std::vector<Fault> verify(const std::vector<ProductSelection>& selections,
                                            Time since = Time::min()) const;

    /// Returns the entries of both shared files; none of a file that does not exist. Throws
    /// tree_error if there is no tree, or a file cannot be read or holds no object.
    [[nodiscard]] Listing list() const;

    /// Finishes a change that was interrupted after its commit, and drops one that was interrupted
    /// before. Returns whether there was one. Every change begins with this.
    bool recover();

private:
    ustring root_;
    std::function<void(std::int64_t)> on_wait_;
};

} // namespace install::tree
