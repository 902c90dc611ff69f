// Names that a file system takes for each other, as it ignores case.

#pragma once

#include "install/tree/disk/directory.hpp"

#include <map>
#include <optional>
#include <set>
#include <string>

namespace install::tree {

// Whether a file system takes the name of a file for the same in the other case.
[[nodiscard]] bool ignores_case(const Directory& directory, const std::string& name);
// Returns a name as such a file system compares it, as far as it is ASCII.
[[nodiscard]] std::string in_lower_case(std::string name);

class Spelling {
public:
    // Keeps a reference to the directory.
    explicit Spelling(const Directory& directory) : directory_(directory) {}

    // Whether the file that is found at `name`, in a folder, has a name of another spelling. Looks
    // at the file system once, and where it ignores case, once at each folder. Throws tree_error.
    [[nodiscard]] bool is_other(const std::string& name);
    // Throws tree_error, with both names, for a file that has one of another spelling.
    [[noreturn]] static void refuse(const Directory& directory, const std::string& name);

private:
    const std::set<std::string>& names_in(const std::string& folder);

    const Directory& directory_;
    std::optional<bool> ignores_case_;
    std::map<std::string, std::set<std::string>> names_; // by folders
};

} // namespace install::tree
