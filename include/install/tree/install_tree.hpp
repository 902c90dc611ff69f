/// \file
/// Changes of an install tree that survive crashes, full disks and other installers.
///
///     InstallTree tree(u"/opt/kit");
///     tree.write({{product, {"hostpf"}, "en"}, {another, {"hostpf"}, "en"}});
///     for (const ContentsEntry& entry : tree.list().contents)
///         std::cout << entry.key << '\n';
///
/// examples/upgrade is a complete installer with a dry run, a question, a progress bar, and a way
/// to cancel.
///
/// ProductImpl::serialize writes one product, in-place, and does not report a failed write.
/// InstallTree leaves the same files, for any number of products at once. Once a change has
/// returned, all of it is in the tree and, with the default Durability, on the disk. If it throws,
/// the process is killed or the power fails, the tree is as it was before: at once, or after the
/// recovery with which every change begins. There are two exceptions: with Outcome::committed, and
/// after a crash that follows the commit, the change is complete. docs/install-tree.md has the
/// assumptions, and describes the files that a change adds to the tree: `receipts.json`, `.lock`,
/// `.staging`, `.undo` and `NAME.old`.
///
/// Operations that change a tree wait for each other, in all threads and processes. Operations that
/// only read change nothing. They always see the tree as it was before or after a change, even
/// while a change is in progress or after it was interrupted. They normally do not wait; a reader
/// that is overlapped by one change after another waits for the lock.
///
/// A failure throws tree_error, whose outcome() says what became of the tree. A failed recovery
/// throws it, too, with Outcome::interrupted. Other exceptions are
///
/// - std::bad_alloc, if memory is exhausted: readers of this library then see the tree as it was;
/// - std::invalid_argument, for a selection without a product, and for a path that no file can
///   have: U+0000 in the install root, or U+0000 or a component `..` in a name, a version or a tag;
/// - fl::i18n::conversion_error, a std::runtime_error, for an install root, a basecode, a name or a
///   version that is ill-formed UTF-16;
/// - what the observers in Options, or a product that is derived from ProductImpl, throw.
///
/// The second and the third are thrown before anything is touched; for the install root, by the
/// constructor.

#pragma once

#include "fl/export.hpp"
#include "install/tree/change.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/tree_error.hpp"
#include "install/ustring.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace install::tree {

/// An entry of the contents map.
struct ContentsEntry {
    std::string key;                ///< the product key, with the tag "hostpf", in UTF-8
    std::vector<std::string> paths; ///< of its documents, as listed: relative to the install root
};

/// An entry of the installed record.
struct RecordEntry {
    std::string basecode;                                  ///< in UTF-8
    std::chrono::sys_time<std::chrono::milliseconds> time; ///< of the last write
};

/// What a change recorded of a product that it wrote.
struct Receipt {
    /// A document as it was written.
    struct Document {
        std::string path;   ///< as the contents map lists it
        std::uint64_t size; ///< in bytes
        std::string sha256; ///< 64 hexadecimal digits
    };
    std::string key;      ///< of the contents map, in UTF-8
    std::string basecode; ///< of the installed record, in UTF-8
    /// \name Of the product and its selection
    /// In UTF-8. Empty in receipts of earlier versions of the library.
    /// @{
    std::string name;    ///< of the product
    std::string version; ///< of the product
    /// The tags of the platforms that have a document: one for each of `documents` but that of the
    /// locale, in the same order.
    std::vector<std::string> platforms;
    /// The tag of the locale if that has a document, which is the last one; empty if it has none.
    std::string locale;
    /// @}
    std::chrono::sys_time<std::chrono::milliseconds> time; ///< of the change
    std::vector<Document> documents;                       ///< in the order of the contents map
};

/// The entries of the shared files, in the order of their keys. Members of another form, which
/// other programs may have added, are left out.
struct Listing {
    std::vector<ContentsEntry> contents; ///< of the contents map
    std::vector<RecordEntry> record;     ///< of the installed record
    /// The current receipts: those of products that were last written by a change, whose times the
    /// installed record has. Products that serialize wrote have none: of their names and versions
    /// only the key is known.
    std::vector<Receipt> receipts;
};

/// An install tree on disk. Objects for the same tree need not know of each other; threads may
/// share one.
class KX_EXPORT InstallTree {
public:
    /// A point in time as the installed record holds it.
    using Time = std::chrono::sys_time<std::chrono::milliseconds>;

    /// The tree at `installRoot`. Does not access it yet. Throws std::bad_alloc, and what readFile
    /// throws for a path that no file can have.
    explicit InstallTree(ustring installRoot, Options options = {});

    /// Makes a change completely, or not at all.
    ///
    /// First removes the entries of `change.remove`, and their documents, earlier selections
    /// included. A document that another entry lists, or that is not in the directory of the
    /// documents, stays. Throws tree_error if an entry does not exist.
    ///
    /// Then writes `change.write`: the tree is what serialize of each selection in order would have
    /// left, byte for byte except for the times, which are all the same. Missing directories are
    /// created. An override of writeXml in a derived product is not called. A tag without a
    /// document is skipped or refused: see Options::missing_documents. Throws tree_error if a
    /// shared file cannot be read or another program wrote it meanwhile, or if the contents map or
    /// the installed record holds no object. Throws std::invalid_argument if a product is null.
    ///
    /// A file that is replaced keeps its permissions, and its owner and group where that is
    /// allowed. No symbolic link is followed but `appdata` and `appdata/products`. A link in the
    /// place of a document is replaced.
    void apply(const Change& change);

    /// Does all of `apply` that does not change the tree, and returns the change, ready to be made.
    [[nodiscard]] PreparedChange prepare(const Change& change);

    /// Applies a change that only writes.
    void write(const std::vector<ProductSelection>& selections);

    /// Applies a change that only removes.
    void remove(const std::vector<InstalledProduct>& products);

    /// Returns what is missing, empty or different in the tree, compared with a write of
    /// `selections`, and which entries of the installed record have a time before `since`. Returns
    /// nothing if all of it is there. Changes nothing.
    [[nodiscard]] std::vector<Fault> verify(const std::vector<ProductSelection>& selections,
                                            Time since = Time::min()) const;

    /// Returns the entries of the shared files. A file that does not exist has none. Throws
    /// tree_error if there is no tree, or if the contents map or the installed record cannot be
    /// read or holds no object.
    [[nodiscard]] Listing list() const;

    /// Rolls back or drops an interrupted change, and returns what became of it; returns nothing if
    /// there was none. Every change begins with this.
    std::optional<Recovery> recover();

private:
    ustring root_;
    Options options_;
};

} // namespace install::tree
