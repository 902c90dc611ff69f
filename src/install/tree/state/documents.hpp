// The documents of a tree, as they are on disk and as entries list them.

#pragma once

#include "install/tree/disk/file_record.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/journal/view.hpp"
#include "install/tree/tree_error.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace install::tree {

// The files below the directory of the documents, by their names in appdata.
struct Documents {
    struct File {
        std::uint64_t size = 0;    // in bytes
        std::uint32_t readers = 0; // the permissions to read, as far as the folders allow that
    };

    // A folder that cannot be read is a fault. Throws std::bad_alloc only.
    explicit Documents(const View& view);

    std::map<std::string, File> files; // the regular ones
    std::vector<Fault> faults;         // what is not regular, or could not be read
    std::optional<tree_error> failure; // the first that the system reported
};

// Returns the names in appdata of the documents of all entries whose names begin with one of
// `prefixes`, each of which ends in a space, and whose tags have none. Throws tree_error.
[[nodiscard]] std::vector<std::string> find_documents(const Directory& appdata,
                                                      const std::set<std::string>& prefixes);

enum class Comparison { size, text };

// Returns what is wrong with the document `name`. `expected` is what it ought to be, null where
// that is not known; `known_size` the size of a regular file that was found there. Throws
// std::bad_alloc only.
[[nodiscard]] std::optional<Fault>
fault_of_document(const View& view, const std::string& name, const FileRecord* expected,
                  Comparison comparison, std::optional<std::uint64_t> known_size = std::nullopt);

} // namespace install::tree
