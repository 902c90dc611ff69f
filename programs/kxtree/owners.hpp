// The products to which a document belongs.

#pragma once

#include "install/tree/install_tree.hpp"

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kxtree {

/// A path, as a person gave it, and the keys of the products that list it.
struct OwnedPath {
    std::string path;
    std::vector<std::string> keys;
};

/// Finds the products that list a document.
class Owners {
public:
    /// Of the tree at `root`, with the entries of `listing`.
    Owners(const std::string& root, const install::tree::Listing& listing);

    /// Returns the keys of the products that list `path`: the path of a file, also through symbolic
    /// links to the folders of the tree; or else a path as the contents map lists it.
    [[nodiscard]] std::vector<std::string> of(const std::string& path) const;

private:
    using Path = std::filesystem::path;
    [[nodiscard]] std::vector<Path> names_in_tree(const Path& path) const;

    std::map<Path, std::vector<std::string>> keys_; // by the path below the root
    std::vector<std::pair<Path, Path>> places_; // where a folder of the tree is, and its name there
};

} // namespace kxtree
