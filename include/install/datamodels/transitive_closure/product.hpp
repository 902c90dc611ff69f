/// \file
/// The model of a product, as input of the installer's objects.
///
/// A caller fills the record through the handle, field by field:
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

/// A handle to a product's record. It always has one, and its copies share it; the record lives
/// until the last of them is gone. Records that require each other in a circle keep each other
/// alive: who builds one takes it apart again, or requires a record that holds just the basecode.
class Product {
public:
    struct Impl;

    /// A handle to a new, empty record. Raises std::bad_alloc.
    KX_EXPORT Product();

    /// Shares the record of the other. Handles are not moved: one that was moved from would be left
    /// without its record.
    Product(const Product&) = default;
    /// Shares the other's record, and gives up the share in its own.
    Product& operator=(const Product&) = default;
    /// The last handle takes the record with it.
    ~Product() = default;

    /// Gives the record to read and to fill, through a const handle too.
    [[nodiscard]] Impl* operator->() const noexcept { return record_.get(); }
    /// The same as a reference.
    [[nodiscard]] Impl& operator*() const noexcept { return *record_; }

private:
    std::shared_ptr<Impl> record_;
};

/// An alternative dependency: five texts in UTF-16, whose meaning is a matter between the model's
/// maker and whoever reads the product.
struct AltDependency {
    ustring field1; ///< the first text
    ustring field2; ///< the second text
    ustring field3; ///< the third text
    ustring field4; ///< the fourth text
    ustring field5; ///< the fifth text
};

/// What is known of a product. The accessors give the containers of the same names; they are what
/// the installer's objects read. Texts are UTF-16; whether they are well-formed shows where one has
/// to become UTF-8.
struct Product::Impl {
    /// Products under keys of the model maker's choice.
    using Products = std::map<ustring, Product>;
    /// Components under keys of the model maker's choice.
    using Components = std::map<ustring, Component>;
    /// Platform or locale, and the whole text of its XML document.
    using Xmls = std::vector<std::pair<ustring, ustring>>;

    ustring name;                   ///< the first part of the product key, and so of file names
    ustring number;                 ///< passed on, and text in spite of its name
    ustring type;                   ///< passed on
    ustring basecode;               ///< the key of the product's entry in the installed record
    ustring version;                ///< the second part of the product key
    ustring release;                ///< passed on
    ustring releaseDescription;     ///< passed on
    bool controlling = false;       ///< passed on
    std::int64_t installedDate = 0; ///< passed on, in whatever unit the model has it

    /// Passed on. Which documents there are does not depend on it.
    std::set<ustring> platforms;
    /// A product takes over their basecodes, in the order of the keys.
    Products requiredProducts;
    /// A product holds them by their own component keys, not by the keys here.
    Components directRequiredComponents;
    /// The documents for platforms. Of several for one platform, the first counts.
    Xmls platformXmls;
    /// The documents for locales. Of several for one locale, the first counts.
    Xmls localeXmls;
    std::vector<AltDependency> altDependencies; ///< passed on in UTF-8 and in this order

    /// \name Accessors
    /// Each refers to the field of its name. The reference holds as long as the record lives.
    /// @{

    /// See #platforms.
    [[nodiscard]] KX_EXPORT const std::set<ustring>& getPlatforms() const noexcept;
    /// See #requiredProducts.
    [[nodiscard]] KX_EXPORT const Products& getRequiredProducts() const noexcept;
    /// See #directRequiredComponents.
    [[nodiscard]] KX_EXPORT const Components& getDirectRequiredComponents() const noexcept;
    /// See #platformXmls.
    [[nodiscard]] KX_EXPORT const Xmls& getPlatformXmls() const noexcept;
    /// See #localeXmls.
    [[nodiscard]] KX_EXPORT const Xmls& getLocaleXmls() const noexcept;
    /// See #altDependencies.
    [[nodiscard]] KX_EXPORT const std::vector<AltDependency>& getAltDependencies() const noexcept;
    /// @}
};

} // namespace install::datamodels::transitive_closure
