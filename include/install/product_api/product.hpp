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

/// Required products by keys that the caller chooses. The products are shared.
using RequiredProductMap = std::map<ustring, std::shared_ptr<Product>>;

/// Components by their component keys. The components are shared.
using ComponentMap = std::map<ustring, std::shared_ptr<const component_impl::ComponentImpl>>;

/// An alternative dependency: the five strings in the product's model, in UTF-8.
struct AltDependency {
    /// Copies the five strings.
    AltDependency(const std::string& field1, const std::string& field2, const std::string& field3,
                  const std::string& field4, const std::string& field5)
        : altField1(field1),
          altField2(field2),
          altField3(field3),
          altField4(field4),
          altField5(field5) {}

    /// The field of the same number in the model.
    /// @{
    std::string altField1;
    std::string altField2;
    std::string altField3;
    std::string altField4;
    std::string altField5;
    /// @}
};

/// A product: a copy of its model's data, which can be queried and written to an install tree.
///
/// Getters return copies, which belong to the caller, and throw nothing but std::bad_alloc. All
/// other operations may throw std::bad_alloc, too. Strings are UTF-16, as in the product's model,
/// unless another encoding is named. A field that is "passed on" is not interpreted: it is returned
/// as the model has it. Const operations may run concurrently; setRequiredProducts must not run at
/// the same time as any other operation on the same object. The order of the virtual operations is
/// part of the binary interface.
class KX_EXPORT Product {
public:
    /// Public and virtual, because products are owned through this class.
    virtual ~Product();

    /// Returns the key of the product's entry in the installed record.
    [[nodiscard]] virtual ustring getBasecode() const = 0;
    /// Returns the first part of the product key, which names the documents and the entry in the
    /// contents map.
    [[nodiscard]] virtual ustring getName() const = 0;
    /// Returns the product's number, any text; passed on.
    [[nodiscard]] virtual ustring getNumber() const = 0;
    /// Returns the product's type, any text; passed on.
    [[nodiscard]] virtual ustring getType() const = 0;
    /// Returns the second part of the product key.
    [[nodiscard]] virtual ustring getVersion() const = 0;
    /// Returns the product's release, any text; passed on.
    [[nodiscard]] virtual ustring getRelease() const = 0;
    /// Returns the description of the release; passed on.
    [[nodiscard]] virtual ustring getReleaseDescription() const = 0;
    /// Returns whether the model marks the product as controlling; passed on.
    [[nodiscard]] virtual bool isControlling() const = 0;
    /// Returns the model's installed date, in the unit of the model; passed on. The installed
    /// record is not read.
    [[nodiscard]] virtual std::int64_t getInstalledDate() const = 0;
    /// Returns the platforms of the product; passed on. The documents that are written do not
    /// depend on them.
    [[nodiscard]] virtual std::set<ustring> getPlatforms() const = 0;
    /// Returns the map that was last passed to setRequiredProducts; empty before the first call.
    /// The products in it are shared, not copied.
    [[nodiscard]] virtual RequiredProductMap getRequiredProducts() const = 0;
    /// Returns the basecodes of the products that the model requires, in the model's order. They do
    /// not depend on setRequiredProducts.
    [[nodiscard]] virtual std::vector<ustring> getRequiredProductsBasecodes() const = 0;
    /// Replaces all required products, and releases the earlier ones, which may own `products`.
    /// After std::bad_alloc the product still has the earlier ones.
    virtual void setRequiredProducts(const RequiredProductMap& products) = 0;
    /// Returns the directly required components. They are shared, not copied.
    [[nodiscard]] virtual ComponentMap getComponents() const = 0;

    /// Writes the product to the install tree in the directory `installRoot`: its XML documents for
    /// `platforms` and `locale`, its entry in the contents map, and the time of this write in the
    /// installed record. Existing files are overwritten in-place.
    ///
    /// Tags are UTF-8; a tag without a document is skipped. A failed write is not reported, and the
    /// operation goes on with the next file. A file that could not be opened is unchanged; a later
    /// failure, such as a full disk, may leave the file truncated or empty. A FIFO in the place of
    /// a file blocks until another process opens it. Directories are created only for documents: in
    /// a new tree, a write without documents leaves no files.
    ///
    /// Throws
    /// - std::runtime_error if a JSON file exists but cannot be read or does not begin with an
    ///   object; that file is unchanged;
    /// - std::filesystem::filesystem_error if a directory cannot be created, or if it cannot be
    ///   determined whether a file exists;
    /// - std::invalid_argument if the path of a document has a component `..` or U+0000 from name,
    ///   version or tag, or if `installRoot` contains U+0000;
    /// - fl::i18n::conversion_error if basecode, name, version or `installRoot` is ill-formed
    ///   UTF-16.
    ///
    /// Files that were written before an exception remain.
    ///
    /// There is no lock: the caller must not let two writes to the same tree overlap.
    virtual void serialize(const ustring& installRoot, const std::vector<std::string>& platforms,
                           const std::string& locale) const = 0;

    /// Writes only the XML documents: those of `platforms`, then those of `locales`, each in the
    /// order of the list. Throws as serialize does.
    virtual void writeXml(const ustring& installRoot, const std::vector<std::string>& platforms,
                          const std::vector<std::string>& locales) const = 0;

    /// Returns the alternative dependencies in the model's order, in UTF-8; passed on.
    [[nodiscard]] virtual std::vector<AltDependency> getAltDependencies() const = 0;

protected:
    /// Protected, so that only derived classes can be created and copied.
    Product() = default;
    Product(const Product&) = default;
    Product& operator=(const Product&) = default;
};

} // namespace install::product_api
