// What the file system of a tree does with changes that are made through other mounts of it.

#pragma once

#include "install/tree/disk/directory.hpp"

#include <string>

namespace install::tree {

struct Mount {
    // Whether other hosts may change the files, of which this one keeps names and contents for a
    // while.
    bool is_shared = false;
    // Why changes through two mounts may destroy each other; empty where they do not.
    std::string danger;

    // Returns what is known of the file system of a directory. Throws tree_error.
    [[nodiscard]] static Mount of(const Directory& directory);
};

} // namespace install::tree
