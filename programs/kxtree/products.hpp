// The entries of a tree that belong together, and their names.

#pragma once

#include "install/tree/install_tree.hpp"

#include <cstddef>
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

/// Returns the receipt of a product if it says name, version, platforms and locale; null if it does
/// not, as those of earlier versions of the library, or there is none.
[[nodiscard]] const install::tree::Receipt* receipt_with_names(const Product& product);

/// Returns the entries of the installed record that no receipt of these products names, in the
/// order of their keys.
[[nodiscard]] std::vector<install::tree::RecordEntry>
unclaimed_record_of(const install::tree::Listing& listing);

/// Returns the number of products that have no receipt.
[[nodiscard]] std::size_t count_without_receipt(const install::tree::Listing& listing);

} // namespace kxtree
