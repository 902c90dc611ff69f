// A report on an install tree, from the files on disk.

#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace write_tree {

struct TreeCount {
    std::size_t xml_files = 0;
    std::uintmax_t bytes = 0; // of all files
};

/// Counts the files of a tree.
[[nodiscard]] TreeCount count_tree(const std::string& root);

/// Prints the first files of the tree, and how many more there are.
void print_top_of_tree(std::ostream& stream, const std::string& root);

} // namespace write_tree
