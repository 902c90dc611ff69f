// What a write of products has to leave in a tree.

#pragma once

#include "foundation/json/value.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/layout.hpp"

#include <map>
#include <string>
#include <vector>

namespace install::tree {

struct Plan {
    // A product's entries.
    struct Entry {
        std::string key;                           // of the contents map
        foundation::json::Value paths;             // its list
        std::vector<const std::string*> documents; // their names in the map below
        std::string basecode;                      // of the installed record
    };

    // A document of a product, which is copied only while it is staged.
    struct Document {
        const product_impl::ProductImpl* product;
        std::string (product_impl::ProductImpl::*get)(const std::string& tag) const;
        const std::string* tag;
        [[nodiscard]] std::string text() const { return (product->*get)(*tag); }
    };

    // The documents by their names in appdata. Of several with one name, the last one is left.
    std::map<std::string, Document> documents;
    std::vector<Entry> entries; // in the order of the products
};

// The selections must outlive the plan. Throws what InstallTree::write throws before it touches the
// tree.
[[nodiscard]] Plan plan_write(const Layout& layout,
                              const std::vector<ProductSelection>& selections);

} // namespace install::tree
