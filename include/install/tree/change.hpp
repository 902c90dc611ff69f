/// \file
/// A change of an install tree: what it is to do, how, and how it is seen.

#pragma once

#include "fl/export.hpp"
#include "install/product_impl/product_impl.hpp"

#include <chrono>
#include <cstddef>
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
    std::vector<std::string> platforms;                       ///< tags in UTF-8
    std::string locale; ///< a tag in UTF-8; empty if no locale is wanted
};

/// A tag of a selection for which its product has no document.
struct SkippedDocument {
    std::string product; ///< the key of the product in the contents map, in UTF-8
    std::string tag;     ///< of a platform or of the locale, as it was selected
};

/// What becomes of tags without a document.
enum class MissingDocuments {
    skip,   ///< nothing is written for them, as by serialize
    refuse, ///< nothing is written at all
};

/// The entries of an installed product.
struct InstalledProduct {
    std::string key; ///< of the contents map, in UTF-8, with its tag "hostpf"
    /// Of the installed record. Without it, the one that the product's receipt names, unless the
    /// receipt of another product names it, too; without a receipt the record is unchanged.
    std::optional<std::string> basecode;
};

/// What a change does: all of it, or nothing. The removals come first, so that an upgrade is one
/// change.
struct Change {
    std::vector<InstalledProduct> remove = {}; ///< products that are installed
    std::vector<ProductSelection> write = {};  ///< products to write, each as serialize does
};

/// What a change does to one file.
struct ChangeStep {
    /// What is done.
    enum class Kind {
        create,  ///< nothing is there yet
        replace, ///< another text takes the place of the present one
        remove,  ///< nothing will be there
    };
    Kind kind = Kind::create; ///< what is done
    std::string
        path; ///< of the file, in the encoding of the file system; not printable as it stands
    bool is_document = false; ///< whether it is a product's, or else one of the tree's own files
};

/// Returns the name of a kind: "create", "replace" or "remove". The text is a string literal.
[[nodiscard]] KX_EXPORT const char* name_of(ChangeStep::Kind kind) noexcept;

/// What an interrupted change left, and what became of it.
struct Recovery {
    /// Whether the change had begun, and was rolled back. Otherwise it had not, or it was complete,
    /// and only what it left beside the tree was dropped.
    bool was_rolled_back = false;
    /// The paths of files that other programs wrote since the interruption, and that stay, in the
    /// encoding of the file system.
    std::vector<std::string> kept;
};

/// How far a change is.
struct Progress {
    /// The parts of a change, in this order.
    enum class Phase {
        stage, ///< new files are written beside the tree
        flush, ///< they and those that they replace are made durable; not in every change
        move,  ///< they take their places
        drop,  ///< what they replaced is dropped; the change is made already
    };
    Phase phase = Phase::stage; ///< the part that is under way
    /// Files that are done, in this phase. Many files are flushed in one piece, where the system
    /// can do that: then all of them are done at the same moment.
    std::size_t done = 0;
    std::size_t total = 0; ///< files that the phase has, at least one
};

/// What a change survives once it has returned, and what an interrupted one can be rolled back
/// after.
enum class Durability {
    power_failure, ///< everything: the disk is asked to keep what was written
    /// The death of the process, not that of the machine: for images that are built. A change then
    /// has no phase `flush`.
    process_death,
};

/// In the place of the number of a process: one that only reads, and soon ends.
inline constexpr std::int64_t a_reader = -1;

/// In the place of the number of a process: one whose number means nothing to this process.
inline constexpr std::int64_t a_process_elsewhere = -2;

/// Returns what is known of a process, in words: "process 123 (name)". For 0: "another process".
/// For a_reader: "a reader". For a_process_elsewhere: "a process on another host, or in a
/// container".
[[nodiscard]] KX_EXPORT std::string describe_process(std::int64_t process);

/// How an InstallTree works.
struct Options {
    /// Called before a change waits for another one, and then every 100 ms, with the process that
    /// makes it: 0 if that is not known, a_reader if one or several read, a_process_elsewhere if it
    /// runs on another host or in a container. Called as well while the change waits for this host
    /// to see what another one changed, with a_process_elsewhere. What it throws ends the waiting,
    /// and the change.
    std::function<void(std::int64_t process)> on_wait = {};
    /// Called at the beginning of each phase that the change has, at the end of `flush` and `drop`,
    /// and at least every 100 ms while files are counted. What it throws before the change is made
    /// drops the change; what it throws afterwards is ignored.
    std::function<void(const Progress&)> on_progress = {};
    /// How long a change waits for others before it throws tree_error with std::errc::timed_out,
    /// which names the process that it waited for. Without a value: as long as it takes.
    std::optional<std::chrono::milliseconds> wait_at_most = {};
    /// What a change survives.
    Durability durability = Durability::power_failure;
    /// How long this host may keep names and contents of files that another host has changed. On a
    /// file system that hosts may share (NFS, SMB, Ceph, 9P, FUSE), a change that follows one of
    /// another host waits as long before it begins, and a reading until it sees what the other one
    /// left; both throw tree_error if they do not see it then.
    std::chrono::milliseconds cache_timeout{5000};
    /// Whether no other mount of the file system changes this tree, so that nothing has to be
    /// waited for. Otherwise a change throws tree_error where locks do not exclude other mounts.
    bool only_mount = false;
    /// What becomes of tags that are selected and have no document. With `refuse`, a change throws
    /// tree_error before it touches anything, which names the product, the tag, and the tags that
    /// it has.
    MissingDocuments missing_documents = MissingDocuments::skip;
};

struct StagedChange;

/// A change that is ready to be made: the tree is locked, all new files are written beside it, and
/// whatever could be found to be wrong was reported.
class KX_EXPORT PreparedChange {
public:
    /// Takes the change of `other`, which has none afterwards.
    PreparedChange(PreparedChange&& other) noexcept;
    /// The same; drops the change that was here.
    PreparedChange& operator=(PreparedChange&& other) noexcept;
    /// Drops the change, unless it was committed, and releases the lock.
    ~PreparedChange();

    /// Returns what the change does to each file, in the order in which it does so.
    [[nodiscard]] std::vector<ChangeStep> steps() const;

    /// Returns the products that the change removes, each with the basecode that it removes from
    /// the installed record; none where that is unchanged.
    [[nodiscard]] std::vector<InstalledProduct> removed() const;

    /// Returns the tags for which nothing is written, in the order of the selections. An empty
    /// locale is none of them.
    [[nodiscard]] std::vector<SkippedDocument> skipped() const;

    /// Makes the change, and releases the lock. Throws tree_error, whose outcome says what became
    /// of the tree, or what the observer of the progress throws. Afterwards, whether it threw or
    /// not, steps(), removed() and skipped() return nothing, and another call does nothing.
    void commit();

private:
    friend class InstallTree;
    explicit PreparedChange(std::unique_ptr<StagedChange> staged) noexcept;
    std::unique_ptr<StagedChange> staged_; // none where there is nothing to do
};

} // namespace install::tree
