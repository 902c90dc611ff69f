// A report on an install tree, from the files on disk.

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
    std::uintmax_t bytes = 0;         // of the XML files and the two JSON files
    std::vector<std::string> missing; // paths of files that do not exist
};

/// Counts the files of a tree: its two JSON files, and the XML files at `relative_paths`. The
/// library does not report files that could not be written, so they are looked up on disk.
[[nodiscard]] TreeCount count_tree(const std::string& root,
                                   const std::set<std::string>& relative_paths);

/// Prints the first files of the tree, and how many more there are.
void print_top_of_tree(std::ostream& stream, const std::string& root);

} // namespace write_tree
