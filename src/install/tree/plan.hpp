// What a write of products has to leave in a tree.

#pragma once

#include "foundation/json/value.hpp"
#include "install/tree/disk/layout.hpp"
#include "install/tree/install_tree.hpp"

#include <map>
#include <string>
#include <vector>

namespace install::tree {

struct Plan {
    using Getter = std::string (product_impl::ProductImpl::*)(const std::string& tag) const;

    // A document of a product, which is asked for its text when that is needed.
    struct Document {
        const product_impl::ProductImpl* product;
        Getter getter;
        const std::string* tag;
        FileRecord written = {}; // once it is staged

        [[nodiscard]] std::string text() const { return (product->*getter)(*tag); }
    };

    // A product's entries.
    struct Entry {
        Receipt receipt;                     // all but its time and its documents
        foundation::json::Value paths;       // the list in the contents map
        std::vector<const Document*> listed; // the documents in it, in its order
    };

    // By their names in appdata. Of several with one name, the last one is left.
    std::map<std::string, Document> documents;
    std::vector<Entry> entries; // in the order of the products
    std::vector<SkippedDocument> skipped;
    std::string reason_of_first; // why the first of them is, as a sentence
};

// The selections must outlive the plan. Throws what InstallTree::write throws before it touches the
// tree.
[[nodiscard]] Plan plan_write(const Layout& layout,
                              const std::vector<ProductSelection>& selections);

// Throws tree_error if a tag has no document.
void require_no_skipped(const Layout& layout, const Plan& plan);

} // namespace install::tree
