// An install tree during a change.

#pragma once

#include "install/tree/file_system.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/transaction.hpp"

#include <utility>

namespace install::tree {

// The directory of a tree's files, locked until this is destroyed. What an interrupted change left
// has been recovered.
struct LockedTree {
    LockedTree(Directory directory, const FileLock::Observer& on_wait)
        : appdata(std::move(directory)),
          lock(appdata, lock_name, on_wait),
          recovered(recover(appdata)) {}

    Directory appdata;
    FileLock lock;
    bool recovered; // whether there was anything to recover
};

} // namespace install::tree
