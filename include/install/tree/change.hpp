/// \file
/// A change of an install tree: what it does, how, and how to observe it.

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

/// A selected tag for which the product has no document.
struct SkippedDocument {
    std::string product; ///< the key of the product in the contents map, in UTF-8
    std::string tag;     ///< of a platform or of the locale, as it was selected
};

/// What happens to tags without a document.
enum class MissingDocuments {
    skip,   ///< they are skipped, as by serialize
    refuse, ///< the change is refused
};

/// The entries of an installed product.
struct InstalledProduct {
    std::string key; ///< of the contents map, in UTF-8, with its tag "hostpf"
    /// The key in the installed record. If there is none here, the basecode in the product's
    /// current receipt is used, unless the receipt of another product names it, too. Without such a
    /// receipt the record is unchanged.
    std::optional<std::string> basecode;
};

/// What a change does, completely or not at all. Removals come first, so that an upgrade is one
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
        replace, ///< a new file takes the place of the present one
        remove,  ///< the file is removed
    };
    Kind kind = Kind::create; ///< what is done
    std::string
        path; ///< of the file, in the encoding of the file system; not printable as it stands
    bool is_document = false; ///< whether it is a document; false for the tree's own files
};

/// Returns the name of a kind: "create", "replace" or "remove". The text is a string literal.
[[nodiscard]] KX_EXPORT const char* name_of(ChangeStep::Kind kind) noexcept;

/// What became of an interrupted change.
struct Recovery {
    /// Whether the change was rolled back. Otherwise it had not begun, or was complete, and only
    /// the files that it left beside the tree were dropped.
    bool was_rolled_back = false;
    /// The paths, in the encoding of the file system, of files that other programs wrote since the
    /// interruption. They stay.
    std::vector<std::string> kept;
};

/// How far a change is.
struct Progress {
    /// The parts of a change, in this order.
    enum class Phase {
        stage, ///< new files are written beside the tree
        flush, ///< new and replaced files are made durable; not with Durability::process_death
        move,  ///< new files take their places
        drop,  ///< replaced files are dropped; the change has been made
    };
    Phase phase = Phase::stage; ///< the part that is under way
    /// The number of files that are done in this phase. Where the system can flush many files by
    /// one call, all of them are done at the same moment, and a change cannot be cancelled until
    /// then.
    std::size_t done = 0;
    std::size_t total = 0; ///< the number of files in this phase, at least one
};

/// What a change survives once it has returned, and after what an interrupted one can be rolled
/// back.
enum class Durability {
    power_failure, ///< also a power failure: all files are flushed to the disk
    /// The death of the process only, not of the machine. For building images. A change then has no
    /// phase `flush`.
    process_death,
};

/// Instead of the number of a process: a process that only reads, for a short time.
inline constexpr std::int64_t a_reader = -1;

/// Instead of the number of a process: a process whose number has no meaning here.
inline constexpr std::int64_t a_process_elsewhere = -2;

/// Returns what is known of a process, in words: "process 123 (name)". For 0: "another process".
/// For a_reader: "a reader". For a_process_elsewhere: "a process on another host, or in a
/// container".
[[nodiscard]] KX_EXPORT std::string describe_process(std::int64_t process);

/// How an InstallTree works.
struct Options {
    /// Called before a change waits for another one, and then every 100 ms, with the number of the
    /// process that makes the other change: 0 if that is not known, a_reader if readers hold the
    /// lock, a_process_elsewhere if it runs on another host or in a container. Also called, with
    /// a_process_elsewhere, while a change waits for `cache_timeout`. What it throws ends the
    /// waiting, and the change.
    std::function<void(std::int64_t process)> on_wait = {};
    /// Called by the thread that makes the change: at the beginning of each phase that the change
    /// has, at the end of `flush` and `drop`, and in between as files are done, every 50 ms at
    /// most. To cancel the change, throw anything: before the change is made this drops it and
    /// leaves the tree as it was; afterwards, in `drop`, it is ignored. `prepare` has the phase
    /// `stage`, `commit` the others.
    std::function<void(const Progress&)> on_progress = {};
    /// How long a change waits for other changes. Then it throws tree_error with
    /// std::errc::timed_out, which names the process that it waited for. Without a value: without
    /// limit.
    std::optional<std::chrono::milliseconds> wait_at_most = {};
    /// What a change survives.
    Durability durability = Durability::power_failure;
    /// How long this host may keep names and contents of files that another host has changed. On a
    /// file system that several hosts may share (NFS, SMB, Ceph, 9P, AFS, FUSE), a change that
    /// follows a change of another host waits for this time before it begins, unless the other one
    /// ended more than a minute earlier than that. A reader waits until it sees the other change,
    /// but no longer than this time; inspect and documents_of take the default. Both throw
    /// tree_error if they do not see it then.
    std::chrono::milliseconds cache_timeout{5000};
    /// Whether no other mount of the file system changes this tree. A change then does not wait for
    /// `cache_timeout`. Without it, a change throws tree_error where locks do not exclude other
    /// mounts.
    bool only_mount = false;
    /// What happens to selected tags without a document. With `refuse`, a change throws tree_error
    /// before it touches anything; the error names the product, the tag, and the tags for which
    /// there are documents. A caller that needs all such tags skips them, and asks
    /// PreparedChange::skipped.
    MissingDocuments missing_documents = MissingDocuments::skip;
};

struct StagedChange;

/// A change that is ready to be made: the tree is locked, all new files are written beside it, and
/// all faults that can be found beforehand were reported.
class KX_EXPORT PreparedChange {
public:
    /// Takes the change of `other`, which then has none.
    PreparedChange(PreparedChange&& other) noexcept;
    /// The same; drops the change that was here.
    PreparedChange& operator=(PreparedChange&& other) noexcept;
    /// Drops the change, unless it was committed, and releases the lock.
    ~PreparedChange();

    /// Returns what the change does to each file, in the order in which it does so.
    [[nodiscard]] std::vector<ChangeStep> steps() const;

    /// Returns the products that the change removes, each with the basecode that it removes from
    /// the installed record, or without one if that entry stays.
    [[nodiscard]] std::vector<InstalledProduct> removed() const;

    /// Returns the tags for which nothing is written, in the order of the selections. An empty
    /// locale is not among them.
    [[nodiscard]] std::vector<SkippedDocument> skipped() const;

    /// Makes the change, and releases the lock. Throws tree_error, whose outcome says what became
    /// of the tree, or what Options::on_progress throws. Afterwards, also after an exception,
    /// steps(), removed() and skipped() return nothing, and another call does nothing.
    void commit();

private:
    friend class InstallTree;
    explicit PreparedChange(std::unique_ptr<StagedChange> staged) noexcept;
    std::unique_ptr<StagedChange> staged_; // none where there is nothing to do
};

} // namespace install::tree
