// The model of a product, as input of the installer's objects.
//
// A caller fills the record through the handle, field by field:
//
//     Product model;
//     model->name = u"Sample Tool";
//     model->version = u"2.5";
//     model->platformXmls.emplace_back(u"hostpf", u"<product/>");

#pragma once

#include "fl/export.hpp"
#include "install/datamodels/transitive_closure/component.hpp"
#include "install/ustring.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace install::datamodels::transitive_closure {

/// A handle to a product's record. It always has one, and its copies share it; the record lives
/// until the last of them is gone. Records that require each other in a circle keep each other
/// alive: who builds one takes it apart again, or requires a record that holds just the basecode.
class Product {
public:
    struct Impl;

    /// A handle to a new, empty record.
    KX_EXPORT Product();

    // Copies only: a handle that was moved from would be left without its record.
    Product(const Product&) = default;
    Product& operator=(const Product&) = default;
    ~Product() = default;

    [[nodiscard]] Impl* operator->() const noexcept { return record_.get(); }
    [[nodiscard]] Impl& operator*() const noexcept { return *record_; }

private:
    std::shared_ptr<Impl> record_;
};

/// An alternative dependency: five texts, whose meaning is a matter between the model's maker and
/// whoever reads the product.
struct AltDependency {
    ustring field1;
    ustring field2;
    ustring field3;
    ustring field4;
    ustring field5;
};

/// What is known of a product. The accessors give the containers of the same names; they are what
/// the installer's objects read.
struct Product::Impl {
    using Products = std::map<ustring, Product>;
    using Components = std::map<ustring, Component>;
    /// Platform or locale, and the whole text of its XML document.
    using Xmls = std::vector<std::pair<ustring, ustring>>;

    ustring name;
    ustring number;
    ustring type;
    ustring basecode;
    ustring version;
    ustring release;
    ustring releaseDescription;
    bool controlling = false;
    std::int64_t installedDate = 0;

    std::set<ustring> platforms;
    Products requiredProducts;
    Components directRequiredComponents;
    Xmls platformXmls;
    Xmls localeXmls;
    std::vector<AltDependency> altDependencies;

    [[nodiscard]] KX_EXPORT const std::set<ustring>& getPlatforms() const noexcept;
    [[nodiscard]] KX_EXPORT const Products& getRequiredProducts() const noexcept;
    [[nodiscard]] KX_EXPORT const Components& getDirectRequiredComponents() const noexcept;
    [[nodiscard]] KX_EXPORT const Xmls& getPlatformXmls() const noexcept;
    [[nodiscard]] KX_EXPORT const Xmls& getLocaleXmls() const noexcept;
    [[nodiscard]] KX_EXPORT const std::vector<AltDependency>& getAltDependencies() const noexcept;
};

} // namespace install::datamodels::transitive_closure
