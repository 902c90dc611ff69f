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

/// The products of a catalogue's packages.
class Products {
public:
    /// Makes the product of each package, and wires it to those that it requires. It has the name
    /// of its package, with the architecture if the package is there for several.
    explicit Products(const std::vector<Package>& packages);
    Products(const Products&) = delete;
    Products& operator=(const Products&) = delete;

    /// Parts the products: those that require each other in a circle would keep each other alive.
    ~Products();

    /// The products, at the indexes of their packages.
    [[nodiscard]] const std::vector<ProductPointer>& all() const noexcept { return products_; }

private:
    std::vector<ProductPointer> products_;
};

} // namespace write_tree
