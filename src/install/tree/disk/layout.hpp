// Where an install tree is. All names are in the encoding of the file system.

#pragma once

#include "install/tree/disk/directory.hpp"
#include "install/ustring.hpp"

#include <optional>
#include <string>

namespace install::tree {

struct Layout {
    // Throws what readFile throws for a path that no file can have.
    explicit Layout(const ustring& installRoot);

    ustring root;
    std::string appdata; // the path of the directory of the tree's files
};

// Opens appdata; returns nothing if it does not exist.
[[nodiscard]] std::optional<Directory> open_tree_if_any(const Layout& layout);
// Opens appdata. Throws tree_error if it does not exist.
[[nodiscard]] Directory open_tree(const Layout& layout);
// Opens appdata, which is created if it does not exist.
[[nodiscard]] Directory create_tree(const Layout& layout);

} // namespace install::tree
