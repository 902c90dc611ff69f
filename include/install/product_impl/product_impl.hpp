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

/// The product object, and the files that it writes.
namespace install::product_impl {

using product_api::AltDependency;
using product_api::ComponentMap;
using product_api::RequiredProductMap;

/// The whole texts of XML documents by their tags, those of platforms or of locales, all in UTF-8.
/// Tags are compared byte by byte.
using XmlMap = std::map<std::string, std::string>;

/// The product object. It is made from a model once, and constant after that, except for its
/// required products.
class KX_EXPORT ProductImpl : public product_api::Product {
public:
    /// Copies the data of `model` and keeps no reference to it. Of several documents for the same
    /// platform or locale, and of several components with the same key, the first one is used.
    ///
    /// Throws std::bad_alloc; fl::i18n::conversion_error if a document, its tag or an alternative
    /// dependency is ill-formed UTF-16; and what the constructor of a component throws.
    explicit ProductImpl(const datamodels::transitive_closure::Product& model);
    // Products are shared, not copied: see product_api::RequiredProductMap.
    ProductImpl(const ProductImpl&) = delete;
    ProductImpl& operator=(const ProductImpl&) = delete;
    /// Releases its components and required products.
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
    /// Each returns one part of `model`, converted, and does not use this object. The constructor
    /// calls all of them, and they throw as it does. Two of the names lack a "t" on purpose:
    /// programs know them so.
    /// @{

    /// Returns the basecodes of the products that `model` requires, in the order of its keys.
    [[nodiscard]] std::vector<ustring> convertToInstallerRequiredProductsBasecodes(
        const datamodels::transitive_closure::Product& model);

    /// Returns a component object for each component, by its component key. Of several with the
    /// same key, the first one is used. The others are constructed too, so that a failure to
    /// construct one is always reported.
    [[nodiscard]] ComponentMap
    convertToInstallerComponents(const datamodels::transitive_closure::Product& model);

    /// Returns the documents by platform, in UTF-8. Of several for the same platform, the first one
    /// is used.
    [[nodiscard]] XmlMap
    converToInstallerPlatformXmls(const datamodels::transitive_closure::Product& model);

    /// Returns the documents by locale, in UTF-8. Of several for the same locale, the first one is
    /// used.
    [[nodiscard]] XmlMap
    converToInstallerLocaleXmls(const datamodels::transitive_closure::Product& model);

    /// Returns the alternative dependencies in the order of `model`, in UTF-8.
    [[nodiscard]] std::vector<AltDependency>
    convertToInstallerAltDependencies(const datamodels::transitive_closure::Product& model);
    /// @}

    /// Returns whether the product has a document, even an empty one, for this platform.
    [[nodiscard]] bool shouldWritePlatformXml(const std::string& platform) const;
    /// Returns whether the product has a document, even an empty one, for this locale.
    [[nodiscard]] bool shouldWriteLocaleXml(const std::string& locale) const;

    /// Return a copy of the document for this platform or locale, in UTF-8. If there is none, throw
    /// std::out_of_range with "map::at:  key not found". Throw std::bad_alloc.
    /// @{
    [[nodiscard]] std::string getPlatformXml(const std::string& platform) const;
    [[nodiscard]] std::string getLocaleXml(const std::string& locale) const;
    /// @}

    /// Return the tags that have a document, in UTF-8, in the order of their bytes. Throw
    /// std::bad_alloc.
    /// @{
    [[nodiscard]] std::vector<std::string> getPlatformXmlTags() const;
    [[nodiscard]] std::vector<std::string> getLocaleXmlTags() const;
    /// @}

    /// \name Stages of serialize
    /// All throw as serialize does, where what it says of `installRoot` is true of `filePath`, too,
    /// and what their own descriptions add. Paths and keys are those of
    /// install/product_impl/utils/paths.hpp.
    /// @{

    /// Calls the virtual writeXml with `locale` as the only locale.
    void writeXml(const ustring& installRoot, const std::vector<std::string>& platforms,
                  const std::string& locale) const;

    /// Creates the directory of the document for `platform`, and writes the document. If there is
    /// none, throws std::out_of_range with "map::at:  key not found"; the directory has been
    /// created by then. Throws fl::i18n::conversion_error if `platform` is ill-formed UTF-8.
    void writePlatformXml(const ustring& installRoot, const std::string& platform) const;
    /// The same for a locale.
    void writeLocaleXml(const ustring& installRoot, const std::string& locale) const;

    /// Creates the contents map if it does not exist; otherwise replaces this product's entry in
    /// it, or adds one.
    void writeContentsMap(const ustring& installRoot, const std::vector<std::string>& platforms,
                          const std::string& locale) const;

    /// Writes a contents map with only this product's entry to `filePath`.
    void createContentsMap(const ustring& installRoot, const ustring& filePath,
                           const std::vector<std::string>& platforms,
                           const std::string& locale) const;

    /// Reads the contents map at `filePath`, replaces or adds this product's entry, and rewrites
    /// the file. A missing file counts as one that cannot be read: std::runtime_error.
    void addEntryInContentsMap(const ustring& installRoot, const ustring& filePath,
                               const std::vector<std::string>& platforms,
                               const std::string& locale) const;

    /// Returns the paths, relative to the install root, of the documents that writeXml writes for
    /// the same arguments, in the same order, as strings in UTF-8.
    [[nodiscard]] foundation::json::ValueVector
    getRelativeXmlPaths(const ustring& installRoot, const std::vector<std::string>& platforms,
                        const std::string& locale) const;

    /// Creates the installed record if it does not exist; otherwise replaces this product's entry
    /// in it, or adds one. The entry maps the basecode to the time of this write, in milliseconds
    /// since the Unix epoch.
    void writeInstalledProdData(const ustring& installRoot) const;

    /// Writes an installed record with only this product's entry to `filePath`.
    void createInstalledProdData(const fl::filesystem::path& filePath) const;

    /// Reads the installed record at `filePath`, replaces or adds this product's entry, and
    /// rewrites the file. A missing file counts as one that cannot be read: std::runtime_error.
    void addEntryInInstalledProdData(const fl::filesystem::path& filePath) const;
    /// @}

private:
    // All but requiredProducts_ are constant after construction.
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
