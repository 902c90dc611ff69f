// One committed state of a tree, as those see it who only read.

#pragma once

#include "install/tree/change.hpp"
#include "install/tree/disk/directory.hpp"
#include "install/tree/disk/file_lock.hpp"
#include "install/tree/disk/mount.hpp"
#include "install/tree/journal/manifest.hpp"
#include "install/tree/tree_error.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace install::tree {

// While a change is under way, or after it was interrupted, its old files are read instead of the
// new ones. Names are relative to appdata. All operations throw tree_error.
class View {
public:
    // Keeps a reference to `appdata`. With `sees_others`, which takes longer, files are seen that
    // other programs wrote since a change was interrupted, as they are once that is rolled back.
    explicit View(const Directory& appdata, const Mount& mount = {}, bool sees_others = false);

    // As those of Directory.
    [[nodiscard]] std::string path_of(const std::string& name) const {
        return appdata_.path_of(name);
    }
    [[nodiscard]] FileStatus status(const std::string& name) const;
    [[nodiscard]] std::optional<std::string> read(const std::string& name) const;
    [[nodiscard]] bool matches(const std::string& name, const FileRecord& record) const;

    // Calls `visit` with the name of each file that the change adds, replaces or removes, and
    // whether it was there before.
    template <class Visit>
    void for_each_changed(const Visit& visit) const {
        for (const auto& [name, was_there] : changed_)
            visit(std::string(name), was_there);
    }

    // Returns the paths of files that other programs wrote since the change was interrupted.
    [[nodiscard]] std::vector<std::string> files_of_others() const;

    // Why the interrupted change cannot be understood; the tree is then seen as it stands.
    [[nodiscard]] const std::optional<tree_error>& fault() const noexcept { return fault_; }

    // Whether everything that was read until now is of one state, as far as this host sees the
    // files.
    [[nodiscard]] bool is_current() const;
    // What another mount left of the last change, whose files this one may not see yet; nothing
    // where this cannot be.
    [[nodiscard]] std::optional<LockText> from_elsewhere() const;

    [[nodiscard]] const Directory& appdata() const noexcept { return appdata_; }

private:
    // What every change, and every other program's write of a shared file, makes another one.
    struct State {
        State(const Directory& appdata, const LockText& lock);
        bool operator==(const State&) const = default;
        std::uint64_t changes = 0;
        LockText::State state{}; // of the last one
        // Device, inode, size, and both times. A change that was rolled back has left the old file,
        // but that was changed meanwhile.
        std::array<std::array<std::uint64_t, 5>, 4> files{};
    };

    void open_undo();
    // Returns where the file is to be read; null if there is none.
    [[nodiscard]] const Directory* directory_of(const std::string& name) const;

    const Directory& appdata_;
    Mount mount_;
    LockText lock_text_;
    State state_;
    std::optional<Directory> undo_; // these are there while a change is under way
    std::optional<Directory> old_;
    Manifest manifest_;
    std::map<std::string_view, bool> changed_; // whether it was there, by names in manifest_
    std::optional<tree_error> fault_;
};

// Reads a tree until what was read is of one committed state. Only where changes follow each other
// so fast that no reading fits between them, it waits for the one that is under way, if the user
// may read the file of the lock.
class Retries {
public:
    Retries(const Directory& appdata, const Options& options);

    [[nodiscard]] const Mount& mount() const noexcept { return mount_; }
    // Whether what was read of a view counts. What looks wrong may only be what this host has not
    // seen yet. Throws tree_error if it does not see it in time.
    [[nodiscard]] bool accepts(const View& view, bool looks_wrong);
    // Whether a failure to look at the tree counts: a host may see for a while that which another
    // one has removed.
    [[nodiscard]] bool is_lasting() const;
    // Waits for what makes another reading necessary. Throws tree_error after too many.
    void wait();

private:
    using Seconds = std::chrono::duration<double>; // of which no limit is too large

    const Directory& appdata_;
    Mount mount_;
    std::chrono::milliseconds cache_timeout_;
    std::chrono::steady_clock::time_point begin_;
    bool is_late_ = false; // rather than changed meanwhile
    int count_ = 0;
    std::optional<FileLock> lock_;
    LockText from_elsewhere_; // since then
    std::chrono::steady_clock::time_point since_;
};

// Returns what `read` returns of a view; `looks_wrong` says of a result whether it has faults.
template <class Read, class LooksWrong>
auto read_committed(const Directory& appdata, const Options& options, const Read& read,
                    const LooksWrong& looks_wrong) {
    for (Retries retries(appdata, options);; retries.wait()) {
        std::optional<View> view;
        try {
            view.emplace(appdata, retries.mount());
            auto result = read(*view);
            if (retries.accepts(*view, looks_wrong(result)))
                return result;
        } catch (const tree_error&) {
            if (view ? retries.accepts(*view, true) : retries.is_lasting())
                throw;
        }
    }
}

} // namespace install::tree
