// The documents of a tree, as they are on disk and as entries list them.

#pragma once

#include "install/tree/fault.hpp"
#include "install/tree/file_system.hpp"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace install::tree {

// The files below the directory of the documents, by their names in appdata.
struct Documents {
    // A folder that cannot be read is a fault. Throws std::bad_alloc only.
    explicit Documents(const Directory& appdata);

    std::map<std::string, std::uint64_t> sizes; // of the regular files, in bytes
    std::vector<Fault> faults;                  // what is not regular, or could not be read
};

// Returns what the names of the documents of an entry with the key `key` begin with.
[[nodiscard]] std::string name_prefix(std::string_view key);

// Whether `name` begins with one of `prefixes`, each of which ends in a space.
[[nodiscard]] bool has_prefix(const std::string& name, const std::set<std::string>& prefixes);

} // namespace install::tree
