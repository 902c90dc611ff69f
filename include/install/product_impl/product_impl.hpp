/// \file
/// The product object.

#pragma once

#include "fl/export.hpp"
#include "fl/filesystem/path.hpp"
#include "foundation/json/value.hpp"
#include "install/datamodels/transitive_closure/product.hpp"
#include "install/product_api/product.hpp"
#include "install/ustring.hpp"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

/// The product, and what it leaves on disk.
namespace install::product_impl {

using product_api::AltDependency;
using product_api::ComponentMap;
using product_api::RequiredProductMap;

/// The whole text of an XML document by its platform or locale, both in UTF-8. Tags match byte for
/// byte.
using XmlMap = std::map<std::string, std::string>;

/// The product object: built from a model once, constant from then on but for its required
/// products.
class KX_EXPORT ProductImpl : public product_api::Product {
public:
    /// Copies what it needs out of `model` and keeps no reference to it. Of several documents for
    /// one platform or locale, and of several components with one key, the first counts.
    ///
    /// Raises std::bad_alloc, fl::i18n::conversion_error where the tag or text of a document or an
    /// alternative dependency is ill-formed UTF-16, and whatever making a component raises.
    explicit ProductImpl(const datamodels::transitive_closure::Product& model);
    /// Products are shared, not copied: see product_api::RequiredProductMap.
    ProductImpl(const ProductImpl&) = delete;
    /// What a product was built from stays.
    ProductImpl& operator=(const ProductImpl&) = delete;
    /// Gives up the shares in components and required products.
    ~ProductImpl() override;

    [[nodiscard]] ustring getBasecode() const override;
    [[nodiscard]] ustring getName() const override;
    [[nodiscard]] ustring getNumber() const override;
    [[nodiscard]] ustring getType() const override;
    [[nodiscard]] ustring getVersion() const override;
    [[nodiscard]] ustring getRelease() const override;
    [[nodiscard]] ustring getReleaseDescription() const override;
    [[nodiscard]] bool isControlling() const override;
    [[nodiscard]] std::int64_t getInstalledDate() const override;
    [[nodiscard]] std::set<ustring> getPlatforms() const override;
    [[nodiscard]] RequiredProductMap getRequiredProducts() const override;
    [[nodiscard]] std::vector<ustring> getRequiredProductsBasecodes() const override;
    /// \copydoc product_api::Product::setRequiredProducts
    void setRequiredProducts(const RequiredProductMap& products) override;
    [[nodiscard]] ComponentMap getComponents() const override;
    void serialize(const ustring& installRoot, const std::vector<std::string>& platforms,
                   const std::string& locale) const override;
    void writeXml(const ustring& installRoot, const std::vector<std::string>& platforms,
                  const std::vector<std::string>& locales) const override;
    [[nodiscard]] std::vector<AltDependency> getAltDependencies() const override;

    /// \name Conversions
    /// Each reads one part of `model`, uses nothing of this object, and gives a finished container.
    /// The constructor is made of them, and raises what they raise.
    /// @{

    /// The basecodes of the products that `model` requires, in the order of its keys.
    [[nodiscard]] std::vector<ustring> convertToInstallerRequiredProductsBasecodes(
        const datamodels::transitive_closure::Product& model);

    /// An object for each component, by its own key. Of several with one key, the first counts; the
    /// others are made too, so that one which cannot be made never goes unnoticed.
    [[nodiscard]] ComponentMap
    convertToInstallerComponents(const datamodels::transitive_closure::Product& model);

    /// The documents by platform, both in UTF-8. Of several for one platform, the first counts.
    [[nodiscard]] XmlMap
    converToInstallerPlatformXmls(const datamodels::transitive_closure::Product& model);

    /// The documents by locale, likewise.
    [[nodiscard]] XmlMap
    converToInstallerLocaleXmls(const datamodels::transitive_closure::Product& model);

    /// The alternative dependencies in their order, in UTF-8.
    [[nodiscard]] std::vector<AltDependency>
    convertToInstallerAltDependencies(const datamodels::transitive_closure::Product& model);
    /// @}

    /// Whether the product has a document for this platform; the document may be empty.
    [[nodiscard]] bool shouldWritePlatformXml(const std::string& platform) const;
    /// The same for a locale.
    [[nodiscard]] bool shouldWriteLocaleXml(const std::string& locale) const;

    /// \name Stages of serialize
    /// All raise as serialize does; paths and keys are those of
    /// install/product_impl/utils/paths.hpp.
    /// @{

    /// The virtual writeXml with `locale` as its only locale.
    void writeXml(const ustring& installRoot, const std::vector<std::string>& platforms,
                  const std::string& locale) const;

    /// Makes the directory of the products and writes one document. Raises std::out_of_range with
    /// "map::at:  key not found", the directory being made by then, where there is no such
    /// document.
    void writePlatformXml(const ustring& installRoot, const std::string& platform) const;
    /// The same with a document for a locale.
    void writeLocaleXml(const ustring& installRoot, const std::string& locale) const;

    /// Creates the contents map, or replaces this product's entry in it.
    void writeContentsMap(const ustring& installRoot, const std::vector<std::string>& platforms,
                          const std::string& locale) const;

    /// Writes a contents map of just this product to `filePath`.
    void createContentsMap(const ustring& installRoot, const ustring& filePath,
                           const std::vector<std::string>& platforms,
                           const std::string& locale) const;

    /// Reads the contents map at `filePath`, replaces this product's entry and rewrites the file.
    void addEntryInContentsMap(const ustring& installRoot, const ustring& filePath,
                               const std::vector<std::string>& platforms,
                               const std::string& locale) const;

    /// The paths, below the install root, of the documents that writeXml writes for the same
    /// arguments, in the same order: strings in UTF-8.
    [[nodiscard]] foundation::json::ValueVector
    getRelativeXmlPaths(const ustring& installRoot, const std::vector<std::string>& platforms,
                        const std::string& locale) const;

    /// Creates the installed record, or replaces this product's entry in it: basecode to the time
    /// of this write, in milliseconds since the Unix epoch.
    void writeInstalledProdData(const ustring& installRoot) const;

    /// Writes an installed record of just this product to `filePath`.
    void createInstalledProdData(const fl::filesystem::path& filePath) const;

    /// Reads the installed record at `filePath`, replaces this product's entry and rewrites the
    /// file.
    void addEntryInInstalledProdData(const fl::filesystem::path& filePath) const;
    /// @}

private:
    // Constant after construction, but for requiredProducts_.
    ustring basecode_;
    ustring name_;
    ustring number_;
    ustring type_;
    ustring version_;
    ustring release_;
    ustring releaseDescription_;
    bool controlling_;
    std::int64_t installedDate_;
    std::set<ustring> platforms_;
    RequiredProductMap requiredProducts_;
    std::vector<ustring> requiredProductsBasecodes_;
    ComponentMap components_;
    XmlMap platformXmls_;
    XmlMap localeXmls_;
    std::vector<AltDependency> altDependencies_;
};

} // namespace install::product_impl
