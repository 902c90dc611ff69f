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
    std::vector<Fault> problems; ///< what should be repaired
    std::vector<Fault> notes; ///< what is worth knowing, such as documents of an earlier selection
    bool is_complete = true;  ///< whether all of the tree could be read
};

/// How closely a tree is inspected.
struct InspectOptions {
    /// Whether the text of each document that has a receipt is compared with it, rather than the
    /// size alone.
    bool contents = false;
    /// Called before each text is compared, with the number of texts that were compared and of all.
    /// What it throws ends the inspection. The numbers start again at 0 if a change makes it
    /// necessary to read the tree once more.
    std::function<void(std::size_t done, std::size_t total)> on_progress = {};
};

/// Inspects the tree at `installRoot`. Changes nothing, opens regular files only, and never follows
/// a listed path out of the tree. A file that cannot be read, or a shared file larger than 1 GiB,
/// is reported, and the inspection goes on. Throws tree_error if the directory `appdata` of the
/// tree cannot be opened.
[[nodiscard]] KX_EXPORT Health inspect(const ustring& installRoot,
                                       const InspectOptions& options = {});

/// A document that an entry of the contents map lists.
struct ListedDocument {
    std::string path; ///< as it is listed
    /// The path of the file, in the encoding of the file system; empty if `path` leaves the tree.
    std::string file;
    std::uint64_t size = 0;     ///< of the file, in bytes; 0 if there is none
    bool has_receipt = false;   ///< whether there is a receipt to compare its size and text with
    std::optional<Fault> fault; ///< what is wrong with it
};

/// Returns the documents that the entry `key` lists, in its order. Reads the shared files each
/// time: for all products, use inspect, whose problems name their products. Throws tree_error if
/// there is no tree, if the contents map cannot be read, or if it has no such entry or that is not
/// a list.
[[nodiscard]] KX_EXPORT std::vector<ListedDocument> documents_of(const ustring& installRoot,
                                                                 const std::string& key);

} // namespace install::tree
