/// \file
/// The product as the installer sees it.

#pragma once

#include "fl/export.hpp"
#include "install/ustring.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace install::component_impl {
class ComponentImpl;
}

/// Products as the installer sees them.
namespace install::product_api {

class Product;

/// Required products under keys of the caller's choice, shared with whoever else holds them.
using RequiredProductMap = std::map<ustring, std::shared_ptr<Product>>;

/// Components by their component key, shared with whoever else holds them.
using ComponentMap = std::map<ustring, std::shared_ptr<const component_impl::ComponentImpl>>;

/// An alternative dependency: five texts in UTF-8, as the product's model gave them.
struct AltDependency {
    /// Copies the five texts.
    AltDependency(const std::string& field1, const std::string& field2, const std::string& field3,
                  const std::string& field4, const std::string& field5)
        : altField1(field1),
          altField2(field2),
          altField3(field3),
          altField4(field4),
          altField5(field5) {}

    std::string altField1; ///< field1 of the model
    std::string altField2; ///< field2 of the model
    std::string altField3; ///< field3 of the model
    std::string altField4; ///< field4 of the model
    std::string altField5; ///< field5 of the model
};

/// A product: a snapshot that answers questions and can leave itself on disk.
///
/// Getters give values of the caller's own, never references into the object, and fail only with
/// std::bad_alloc, which all other operations may raise too. Texts are those of the product's
/// model, in UTF-16. What is said to be passed on is interpreted by nobody here. Const operations
/// may run at the same time; setRequiredProducts must not run beside any other call on the same
/// object. The order of the virtual operations is part of the binary interface.
class KX_EXPORT Product {
public:
    /// Public and virtual: products are owned through this class.
    virtual ~Product();

    /// The key of the product's entry in the installed record.
    [[nodiscard]] virtual ustring getBasecode() const = 0;
    /// The first part of the product key, which names files and the entry in the contents map.
    [[nodiscard]] virtual ustring getName() const = 0;
    /// The product's number, as text; passed on.
    [[nodiscard]] virtual ustring getNumber() const = 0;
    /// The product's type, as text; passed on.
    [[nodiscard]] virtual ustring getType() const = 0;
    /// The second part of the product key.
    [[nodiscard]] virtual ustring getVersion() const = 0;
    /// The product's release, as text; passed on.
    [[nodiscard]] virtual ustring getRelease() const = 0;
    /// What the model says of the release; passed on.
    [[nodiscard]] virtual ustring getReleaseDescription() const = 0;
    /// The model's flag, passed on.
    [[nodiscard]] virtual bool isControlling() const = 0;
    /// The model's installed date, bit for bit; no clock and no file is asked.
    [[nodiscard]] virtual std::int64_t getInstalledDate() const = 0;
    /// The platforms of the product. Which documents get written does not depend on them.
    [[nodiscard]] virtual std::set<ustring> getPlatforms() const = 0;
    /// What the last setRequiredProducts gave, empty before; the products are shared, not cloned.
    [[nodiscard]] virtual RequiredProductMap getRequiredProducts() const = 0;
    /// The basecodes that the model listed, in its order. Never compared with getRequiredProducts.
    [[nodiscard]] virtual std::vector<ustring> getRequiredProductsBasecodes() const = 0;
    /// Replaces the required products as a whole, and gives up the share in the former ones. Which
    /// ones are held after std::bad_alloc is open.
    virtual void setRequiredProducts(const RequiredProductMap& products) = 0;
    /// The directly required components, shared, not cloned.
    [[nodiscard]] virtual ComponentMap getComponents() const = 0;

    /// Writes the product into the tree below `installRoot`: its XML documents for `platforms` and
    /// `locale`, its entry in the contents map, and the time of this write in the installed record.
    ///
    /// Tags are UTF-8; one without a document is passed over. A file that cannot be written is
    /// passed over without a sign. Raises std::runtime_error where a JSON file is there but does
    /// not hold an object, which leaves that file as it was; std::filesystem::filesystem_error
    /// where a directory cannot be made or a file not be looked at; std::invalid_argument where
    /// name, version or a tag would climb out of the tree, or one of them or the root holds U+0000;
    /// fl::i18n::conversion_error where a text is ill-formed. What was written before stays.
    ///
    /// Nothing guards the tree: the caller keeps writes below one root apart.
    virtual void serialize(const ustring& installRoot, const std::vector<std::string>& platforms,
                           const std::string& locale) const = 0;

    /// Writes the XML documents alone: those of `platforms`, then those of `locales`, each in the
    /// order of its list. Raises as serialize does.
    virtual void writeXml(const ustring& installRoot, const std::vector<std::string>& platforms,
                          const std::vector<std::string>& locales) const = 0;

    /// The model's alternative dependencies in its order, in UTF-8.
    [[nodiscard]] virtual std::vector<AltDependency> getAltDependencies() const = 0;

protected:
    /// For derived classes, like the copies: nobody copies a product without knowing its class.
    Product() = default;
    /// Copies nothing, as there is no state here.
    Product(const Product&) = default;
    /// Copies nothing either.
    Product& operator=(const Product&) = default;
};

} // namespace install::product_api
