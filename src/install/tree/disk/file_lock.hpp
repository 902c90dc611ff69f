// The lock of an install tree, and the count of its changes, for those who read without it.

#pragma once

#include "install/tree/disk/directory.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

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
    FileLock(const Directory& appdata, const Waiting& waiting);
    // Waits for the lock of those who read.
    struct Shared {};
    FileLock(const Directory& appdata, Shared);
    FileLock(FileLock&&) noexcept = default;
    FileLock& operator=(FileLock&&) noexcept = default;
    ~FileLock();

    // Counts a change, before any of it can be seen. A failure does not matter: readers also
    // compare the files themselves.
    void count_change() noexcept;

private:
    explicit FileLock(Descriptor file) noexcept : file_(std::move(file)) {}
    void leave_owner() noexcept;

    Descriptor file_;
    std::uint64_t changes_ = 0;
};

// Returns how many changes of a tree were counted; 0 where that is not known.
[[nodiscard]] std::uint64_t counted_changes(const Directory& appdata);

// Whether a change holds the lock of the tree; false where the user has no right to read the file.
[[nodiscard]] bool is_locked(const Directory& appdata);

} // namespace install::tree
