// An install tree during a change.

#pragma once

#include "install/tree/change/transaction.hpp"
#include "install/tree/file_system.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <new>
#include <string>
#include <utility>

namespace install::tree {

// The directory of a tree's files, locked until this is destroyed. What an interrupted change left
// has been recovered.
struct LockedTree {
    LockedTree(Directory directory, const FileLock::Observer& on_wait)
        : appdata(std::move(directory)),
          lock(appdata, std::string(tree_names::lock), on_wait),
          recovered(recover(appdata)) {}

    Directory appdata;
    FileLock lock;
    bool recovered; // whether there was anything to recover
};

// Returns what `change` returns. Where memory runs out, throws tree_error for `path`, which was
// made while there was some. Throws std::bad_alloc if there was not even that much.
template <class Change>
auto reporting_exhausted_memory(const std::string& path, const Change& change) {
    const tree_error exhausted("change", path, std::make_error_code(std::errc::not_enough_memory));
    try {
        return change();
    } catch (const std::bad_alloc&) {
        throw tree_error(exhausted);
    }
}

} // namespace install::tree
