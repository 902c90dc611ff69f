// What the file `.lock` says of the process that holds the lock, or held it last.

#pragma once

#include "install/tree/disk/file_record.hpp"
#include "install/tree/tree_error.hpp"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace install::tree {

struct LockText {
    enum class State {
        complete, // the shared files are as `files` says
        changing, // a change has begun, and may have been interrupted
        late,     // as complete, but its process may not have seen that
    };

    std::int64_t process = 0;  // its number, or 0 if that is not known
    std::uint64_t changes = 0; // how many there have been
    std::int64_t time = 0;     // of the last change, in milliseconds since the epoch
    std::string boot;          // of the machine; empty where that is not known, as in the next two
    std::uint64_t device = 0;  // of the mounted file system, on that machine
    std::string processes;     // the namespace of its number
    State state = State::complete;
    std::string host;              // the name of the machine
    std::vector<FileRecord> files; // the shared ones, as the last change that has ended left them

    bool operator==(const LockText&) const = default;

    // Returns what such a text says. One that is truncated says nothing of files.
    [[nodiscard]] static LockText in(std::string_view text);
    [[nodiscard]] std::string text() const;

    // Says that this process writes the text, through this mounted file system.
    void sign(std::uint64_t mounted_device);
    // Whether the caches of the mount through which `other` is signed hold what the text says.
    [[nodiscard]] bool is_seen_by(const LockText& other) const {
        return state == State::complete && !boot.empty() && boot == other.boot &&
               device == other.device;
    }
    // Whether its process has the number by which this process knows it.
    [[nodiscard]] bool names_process_of(const LockText& other) const {
        return !boot.empty() && !processes.empty() && boot == other.boot &&
               processes == other.processes;
    }
    // Whether the last change was so long ago that no cache can hold anything older, even if the
    // clocks of two machines differ by a minute; also where there was none.
    [[nodiscard]] bool is_older_than(std::chrono::milliseconds cache_timeout) const;
};

// Whether the shared files in `tree`, a Directory or a View, are as the text says.
template <class Tree>
bool is_as_left_by(const LockText& text, const Tree& tree) {
    return std::ranges::all_of(
        text.files, [&](const FileRecord& file) { return tree.matches(file.name, file); });
}

// Throws tree_error unless each of them is that, or was written since by a program that leaves no
// text.
template <class Tree>
void require_written_since(const LockText& text, const Tree& tree) {
    for (const FileRecord& file : text.files)
        if (!tree.matches(file.name, file) &&
            tree.status(file.name).modified / 1'000'000 <= text.time)
            throw tree_error(
                "read", tree.path_of(file.name),
                "It differs from what another host left, which this one may see later. Try "
                "again, change the tree on that host, or, if no other mount changes it "
                "now, say so: --only-mount, Options::only_mount.");
}

} // namespace install::tree
