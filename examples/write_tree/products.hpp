// From the packages of a catalogue to product objects.

#pragma once

#include "catalogue.hpp"
#include "install/product_impl/product_impl.hpp"

#include <memory>
#include <vector>

namespace write_tree {

using ProductPointer = std::shared_ptr<install::product_impl::ProductImpl>;

/// The locale of the summaries.
inline constexpr const char* locale = "en";

/// Gives the product of each package, at its index, wired to those that it requires. A product has
/// the name of its package, with the architecture if the package is there for several. Products
/// that require each other in a circle keep each other alive: see release_requirements.
[[nodiscard]] std::vector<ProductPointer> make_products(const std::vector<Package>& packages);

/// Parts the products again, so that each dies with its last owner outside.
void release_requirements(const std::vector<ProductPointer>& products);

} // namespace write_tree
