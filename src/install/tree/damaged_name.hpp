// Where a damaged shared file is kept.

#pragma once

#include "install/tree/file_system.hpp"
#include "install/tree_names.hpp"

#include <string>

namespace install::tree {

// Returns the first of NAME.damaged, NAME.damaged.1, NAME.damaged.2, ... that is free. `files` is a
// Directory or a View.
template <class Files>
[[nodiscard]] std::string free_damaged_name(const Files& files, const std::string& name) {
    const std::string first = name + std::string(tree_names::damaged_suffix);
    std::string free = first;
    for (int number = 1; files.status(free).type != FileStatus::Type::nothing; ++number)
        free = first + '.' + std::to_string(number);
    return free;
}

} // namespace install::tree
