/// \file
/// The health of an install tree.

#pragma once

#include "fl/export.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/install_tree.hpp"
#include "install/ustring.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace install::tree {

/// What an inspection found.
struct Health {
    Listing listing;             ///< the entries that could be read
    std::size_t documents = 0;   ///< the number of documents that are listed and there
    std::vector<Fault> problems; ///< what ought to be repaired
    std::vector<Fault> notes; ///< what is worth knowing, such as documents of an earlier selection
    bool is_complete = true;  ///< whether all of the tree could be looked at
};

/// How closely a tree is inspected.
struct InspectOptions {
    /// Whether the text of each document that has a receipt is compared with it, rather than the
    /// size alone.
    bool contents = false;
    /// Called before each text that is compared: how many were, of how many. What it throws ends
    /// the inspection. Starts again where a change made it necessary to read the tree once more.
    std::function<void(std::size_t done, std::size_t total)> on_progress = {};
};

/// Inspects the tree at `installRoot`. Changes nothing, opens regular files alone, and never
/// follows a listed path out of the tree. A file that cannot be read hides none of the other
/// findings; a shared file of more than 1 GiB is reported, and not read. Throws tree_error if the
/// tree's directory `appdata` cannot be opened.
[[nodiscard]] KX_EXPORT Health inspect(const ustring& installRoot,
                                       const InspectOptions& options = {});

/// A document that an entry of the contents map lists.
struct ListedDocument {
    std::string path;           ///< as it is listed
    std::string file;           ///< the path of the file, in the encoding of the file system
    std::uint64_t size = 0;     ///< of the file, in bytes; 0 if there is none
    bool has_receipt = false;   ///< whether its size and its text were compared with a receipt
    std::optional<Fault> fault; ///< what is wrong with it
};

/// Returns the documents that the entry `key` lists, in its order. Throws tree_error if there is no
/// tree or no such entry, or the contents map cannot be read.
[[nodiscard]] KX_EXPORT std::vector<ListedDocument> documents_of(const ustring& installRoot,
                                                                 const std::string& key);

} // namespace install::tree
