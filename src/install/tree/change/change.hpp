// Changes of an install tree, from the arguments of InstallTree to the disk.

#pragma once

#include "install/tree/file_system.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/layout.hpp"

#include <vector>

namespace install::tree {

// Each throws what the operation of InstallTree throws, or std::bad_alloc.
void write_products(const Layout& layout, const FileLock::Observer& on_wait,
                    const std::vector<ProductSelection>& selections);
void remove_products(const Layout& layout, const FileLock::Observer& on_wait,
                     const std::vector<InstalledProduct>& products);
bool recover_tree(const Layout& layout, const FileLock::Observer& on_wait);

} // namespace install::tree
