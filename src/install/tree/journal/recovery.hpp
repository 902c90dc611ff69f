// The one way back: from a change that fails while its files move, and from one that was
// interrupted.

#pragma once

#include "install/tree/change.hpp"
#include "install/tree/disk/directory.hpp"
#include "install/tree/disk/file_lock.hpp"
#include "install/tree/disk/mount.hpp"
#include "install/tree/journal/manifest.hpp"

#include <optional>
#include <string>
#include <vector>

namespace install::tree {

// Puts back every old file, removes every new one, and makes `.undo` `.staging` again, or removes
// it where it cannot be renamed. Returns the names of files that stay because another program wrote
// them since. `journal` is the directory `.undo`; the caller holds the lock. Throws tree_error; it
// can be repeated, also after a crash.
std::vector<std::string> roll_back(const Directory& appdata, const Directory& journal,
                                   const Manifest& manifest, Durability durability);

// Returns the names of the files that roll_back would leave to other programs.
[[nodiscard]] std::vector<std::string>
files_of_others(const Directory& appdata, const Directory& journal, const Manifest& manifest);

// What an interrupted change has left.
enum class Remains {
    none,
    to_drop,      // it had not begun, or was complete
    to_roll_back, // it was under way
};
[[nodiscard]] Remains find_remains(const Directory& appdata);

// Rolls back a change that was under way when it was interrupted, and drops what another one left.
// The caller holds the lock. Throws tree_error.
std::optional<Recovery> recover(const Directory& appdata, Durability durability);

// Returns the names of what could not be removed, and was put aside. Each change tries again.
[[nodiscard]] std::vector<std::string> find_set_aside(const Directory& appdata);

// The directory of a tree's files, locked until this is destroyed. An interrupted change has been
// recovered, and what another host did is seen.
struct LockedTree {
    // Throws tree_error, too, where locks do not exclude other mounts.
    LockedTree(Directory directory, const Options& options);

    Directory appdata;
    Mount mount;
    FileLock lock;
    std::optional<Recovery> recovery; // none where there was nothing to do
};

} // namespace install::tree
