// Makes product objects of the packages of a catalogue.

#pragma once

#include "catalogue.hpp"
#include "install/product_impl/product_impl.hpp"

#include <memory>
#include <vector>

namespace write_tree {

using ProductPointer = std::shared_ptr<install::product_impl::ProductImpl>;

/// The locale of the summaries.
inline constexpr const char* locale = "en";

/// The products of a catalogue's packages.
class Products {
public:
    /// Makes a product of each package, and sets the products that it requires. A product has the
    /// name of its package, with the architecture if the catalogue has the package for several.
    explicit Products(const std::vector<Package>& packages);
    Products(const Products&) = delete;
    Products& operator=(const Products&) = delete;

    /// Removes all required products: those that require each other in a cycle would otherwise keep
    /// each other alive.
    ~Products();

    /// Returns the products, in the order of their packages.
    [[nodiscard]] const std::vector<ProductPointer>& all() const noexcept { return products_; }

private:
    std::vector<ProductPointer> products_;
};

} // namespace write_tree
