// What is to be said about a tree that was written, all of it seen on the disk.

#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <set>
#include <string>
#include <vector>

namespace write_tree {

struct TreeCount {
    std::size_t xml_files = 0;
    std::uintmax_t bytes = 0;         // of these and the two JSON files
    std::vector<std::string> missing; // paths that ought to be there
};

/// Counts the files of a tree: its two JSON files, and the XML files at `relative_paths`. The
/// library reports no write that failed, so that only a look at the disk tells.
[[nodiscard]] TreeCount count_tree(const std::string& root,
                                   const std::set<std::string>& relative_paths);

/// Draws the first entries of the tree, and says how many more there are.
void print_top_of_tree(std::ostream& stream, const std::string& root);

} // namespace write_tree
