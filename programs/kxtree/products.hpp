// The entries of a tree that belong together, and their names.

#pragma once

#include "install/tree/install_tree.hpp"

#include <string>
#include <vector>

namespace kxtree {

/// A product; both are parts of the listing.
struct Product {
    const install::tree::ContentsEntry* entry; ///< not null
    const install::tree::Receipt* receipt;     ///< null if it has none
};

/// Returns the products of a listing, in the order of their keys.
[[nodiscard]] std::vector<Product> products_of(const install::tree::Listing& listing);

/// Returns the entries of the installed record that no receipt of these products names, in the
/// order of their keys.
[[nodiscard]] std::vector<install::tree::RecordEntry>
unclaimed_record_of(const install::tree::Listing& listing);

/// Returns the key that a person means by `key`, who may have left out its tag: the very key if the
/// contents map has it, or has none with the tag either.
[[nodiscard]] std::string full_key(const install::tree::Listing& listing, const std::string& key);

} // namespace kxtree
