// An install tree during a change.

#pragma once

#include "install/tree/change/recovery.hpp"
#include "install/tree/file_system.hpp"
#include "install/tree/lock.hpp"

#include <utility>

namespace install::tree {

// The directory of a tree's files, locked until this is destroyed. What an interrupted change left
// has been recovered.
struct LockedTree {
    LockedTree(Directory directory, const Options& options)
        : appdata(std::move(directory)),
          lock(appdata, {options.on_wait, options.wait_at_most}),
          leftover(recover(appdata, options.durability)) {}

    Directory appdata;
    FileLock lock;
    Leftover leftover; // what there was to recover
};

} // namespace install::tree
