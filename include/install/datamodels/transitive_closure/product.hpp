/// \file
/// The model of a product, from which the installer's objects are made.
///
/// A caller fills in the data through the handle, field by field:
///
///     Product model;
///     model->name = u"Sample Tool";
///     model->version = u"2.5";
///     model->platformXmls.emplace_back(u"hostpf", u"<product/>");

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

/// A handle to the data of a product. Copies of a handle share the data, which is destroyed with
/// the last of them. A handle is never null.
///
/// Products that require each other in a cycle keep each other alive. To avoid a leak, break the
/// cycle after use, or require models that have nothing but a basecode.
class Product {
public:
    struct Impl;

    /// A handle to new, empty data. Throws std::bad_alloc.
    KX_EXPORT Product();

    // There is no move, because it would leave a null handle.
    Product(const Product&) = default;
    Product& operator=(const Product&) = default;
    ~Product() = default;

    /// Return the data, which can be modified through a const handle too.
    /// @{
    [[nodiscard]] Impl* operator->() const noexcept { return data_.get(); }
    [[nodiscard]] Impl& operator*() const noexcept { return *data_; }
    /// @}

private:
    std::shared_ptr<Impl> data_;
};

/// An alternative dependency: five strings in UTF-16. The library does not interpret them.
struct AltDependency {
    /// One of the strings.
    /// @{
    ustring field1;
    ustring field2;
    ustring field3;
    ustring field4;
    ustring field5;
    /// @}
};

/// The data of a product. Strings are UTF-16, and are not checked: an ill-formed one is reported
/// when it is converted to UTF-8. A field that is "passed on" is not interpreted; the product
/// returns it as it is. The accessors return the containers of the same names.
struct Product::Impl {
    /// Products by keys that the caller chooses.
    using Products = std::map<ustring, Product>;
    /// Components by keys that the caller chooses.
    using Components = std::map<ustring, Component>;
    /// XML documents: the tag of a platform or a locale, and the whole text.
    using Xmls = std::vector<std::pair<ustring, ustring>>;

    ustring name;                   ///< the first part of the product key
    ustring number;                 ///< passed on; any text
    ustring type;                   ///< passed on
    ustring basecode;               ///< the key of the product's entry in the installed record
    ustring version;                ///< the second part of the product key
    ustring release;                ///< passed on
    ustring releaseDescription;     ///< passed on
    bool controlling = false;       ///< passed on
    std::int64_t installedDate = 0; ///< passed on, in any unit

    /// Passed on. The documents that are written do not depend on it.
    std::set<ustring> platforms;
    /// A product copies their basecodes, in the order of the keys here.
    Products requiredProducts;
    /// A product holds them by their component keys, not by the keys here.
    Components directRequiredComponents;
    /// The documents for platforms. If a platform has several, the first one is used.
    Xmls platformXmls;
    /// The documents for locales. If a locale has several, the first one is used.
    Xmls localeXmls;
    std::vector<AltDependency> altDependencies; ///< passed on, in UTF-8 and in this order

    /// Returns a reference to the field of its name, valid until the data is destroyed.
    /// @{
    [[nodiscard]] KX_EXPORT const std::set<ustring>& getPlatforms() const noexcept;
    [[nodiscard]] KX_EXPORT const Products& getRequiredProducts() const noexcept;
    [[nodiscard]] KX_EXPORT const Components& getDirectRequiredComponents() const noexcept;
    [[nodiscard]] KX_EXPORT const Xmls& getPlatformXmls() const noexcept;
    [[nodiscard]] KX_EXPORT const Xmls& getLocaleXmls() const noexcept;
    [[nodiscard]] KX_EXPORT const std::vector<AltDependency>& getAltDependencies() const noexcept;
    /// @}
};

} // namespace install::datamodels::transitive_closure
