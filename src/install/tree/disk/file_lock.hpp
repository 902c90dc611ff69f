// The lock of an install tree, and what its file says for those who come next or read without it.

#pragma once

#include "install/tree/disk/directory.hpp"
#include "install/tree/disk/lock_text.hpp"
#include "install/tree/disk/mount.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace install::tree {

// Held by one process, and one object of it, at a time; or shared by several that only read.
// Released by the destructor, also where a child process has the file still, and by the system when
// the process dies.
class FileLock {
public:
    struct Waiting {
        // Called before it waits and every 100 ms, with the process that holds the lock (see
        // Options::on_wait). What it throws ends the waiting.
        std::function<void(std::int64_t process)> observer;
        std::optional<std::chrono::milliseconds> at_most; // none: as long as it takes
    };

    // Waits for the lock of a tree, the file `.lock` in `appdata`, which is created and stays.
    // Throws tree_error, with std::errc::timed_out after the time to wait.
    FileLock(const Directory& appdata, const Waiting& waiting, const Mount& mount);
    // Waits for the lock of those who read.
    struct Shared {};
    FileLock(const Directory& appdata, Shared);
    FileLock(FileLock&&) noexcept = default;
    FileLock& operator=(FileLock&&) noexcept = default;
    ~FileLock();

    // What the file said when the lock was taken, where this mount may not have seen that yet.
    // Until see_change it says so to those who come next.
    [[nodiscard]] const std::optional<LockText>& from_elsewhere() const noexcept {
        return from_elsewhere_;
    }

    // Whether other hosts compare the shared files with what is left.
    [[nodiscard]] bool is_shared() const noexcept { return is_shared_; }

    // Counts a change, before any of it can be seen. Where other hosts have to know of it, throws
    // tree_error if they cannot; otherwise a failure does not matter, as readers also compare the
    // files themselves.
    void begin_change();
    // Leaves what the change made of shared files, once it has been made. Those without a digest
    // are not known.
    void end_change(const std::vector<FileRecord>& files) noexcept;
    // Says that this mount has seen what an earlier change left; and that this does not count any
    // more, because it was rolled back, or another program has written since.
    void see_change() noexcept { end_change({}); }
    void forget_change() noexcept {
        text_.files.clear();
        set_time();
        end_change({});
    }

private:
    FileLock(Descriptor file, std::string path) noexcept
        : file_(std::move(file)),
          path_(std::move(path)) {}
    void set_time() noexcept;
    [[nodiscard]] bool write_text() const;

    Descriptor file_;
    std::string path_;
    bool is_shared_ = false; // the file system
    LockText text_;
    std::optional<LockText> from_elsewhere_;
};

// Returns what the file of the lock says; of no file, or one that may not be read, nothing. Throws
// tree_error where other hosts may have written what cannot be read now.
[[nodiscard]] LockText read_lock_text(const Directory& appdata, const Mount& mount);

// Whether a change holds the lock of the tree; false where the user has no right to read the file.
[[nodiscard]] bool is_locked(const Directory& appdata);

} // namespace install::tree
