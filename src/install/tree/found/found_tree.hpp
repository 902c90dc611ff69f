// A tree as it is found, in whatever state: everything that is said of it, and every repair, is a
// function of this.

#pragma once

#include "install/tree/found/documents.hpp"
#include "install/tree/found/shared_file.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/view.hpp"

#include <set>
#include <string>
#include <vector>

namespace install::tree {

// The files that all products share.
struct SharedFiles {
    explicit SharedFiles(const View& view);

    // Returns the entries among the members.
    [[nodiscard]] Listing listing() const;

    SharedFile contents;
    SharedFile record;
    SharedFile receipts;
};

struct FoundTree {
    // Reads the tree once. Throws std::bad_alloc only. Keeps a reference to the view.
    explicit FoundTree(const View& tree_view);

    // Adds what an entry of the contents map lists.
    void add_listed(const std::string& key, const foundation::json::Value& value);

    // Whether an entry lists the document, or has the key to which it belongs.
    [[nodiscard]] bool is_listed(const std::string& document) const {
        return listed.contains(document);
    }
    [[nodiscard]] bool belongs_to_entry(const std::string& document) const {
        return has_prefix(document, prefixes);
    }

    const View& view;
    SharedFiles shared;
    Documents documents;
    std::set<std::string> listed;   // names of documents that an entry lists, there or not
    std::set<std::string> prefixes; // of the names of all entries' documents
};

} // namespace install::tree
