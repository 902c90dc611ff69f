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
    std::vector<std::string> platforms; ///< tags in UTF-8; those without a document are skipped
    std::string locale;                 ///< a tag in UTF-8; skipped if it has no document
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
};

/// How far a change is.
struct Progress {
    /// The parts of a change, in this order.
    enum class Phase {
        stage, ///< new files are written beside the tree
        flush, ///< they are made durable; the system does so in one piece
        move,  ///< they take their places
        drop,  ///< what they replaced is dropped; the change is made already
    };
    Phase phase = Phase::stage; ///< the part that is under way
    std::size_t done = 0;       ///< files that are done, in this phase
    std::size_t total = 0;      ///< files that the phase has; 0 where that is not known
};

/// What a change survives once it has returned, and what an interrupted one can be taken back
/// after.
enum class Durability {
    power_failure, ///< everything: the disk is asked to keep what was written
    process_death, ///< the death of the process, not that of the machine: for images that are built
};

/// Returns what is known of a process, in words: "process 123 (name)". For 0: "another process".
[[nodiscard]] KX_EXPORT std::string describe_process(std::int64_t process);

/// How an InstallTree works.
struct Options {
    /// Called before a change waits for another one, with the process that makes it; 0 if that is
    /// not known. What it throws ends the change.
    std::function<void(std::int64_t process)> on_wait = {};
    /// Called at the beginning of each phase, and at least every 100 ms of work, but at most 1000
    /// times for a change; late in a change of several minutes, therefore less often. What it
    /// throws before the change is made drops the change; what it throws afterwards is ignored.
    std::function<void(const Progress&)> on_progress = {};
    /// How long a change waits for others before it throws tree_error with std::errc::timed_out,
    /// which names the process that it waited for. Without a value: as long as it takes.
    std::optional<std::chrono::milliseconds> wait_at_most = {};
    /// What a change survives.
    Durability durability = Durability::power_failure;
};

struct StagedChange;

/// A change that is ready to be made: the tree is locked, all new files are written beside it, and
/// whatever could be found to be wrong was reported.
class KX_EXPORT PreparedChange {
public:
    /// Takes the change of `other`, which holds none afterwards.
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

    /// Makes the change, and releases the lock. Throws tree_error, or what the observer of the
    /// progress throws; the tree is then as it was, unless tree_error::is_committed() returns true.
    /// Afterwards this holds no change, whether it threw or not: steps() and removed() return
    /// nothing, and a second call does nothing.
    void commit();

private:
    friend class InstallTree;
    explicit PreparedChange(std::unique_ptr<StagedChange> staged) noexcept;
    std::unique_ptr<StagedChange> staged_; // none where there is nothing to do
};

} // namespace install::tree
