// A product object from its model: texts stay UTF-16, documents and alternative dependencies become
// UTF-8, components become objects, and required products are reduced to their basecodes.

#include "fl/i18n/text_conversion.hpp"
#include "install/component_impl/component_impl.hpp"
#include "install/product_impl/product_impl.hpp"

#include <memory>
#include <utility>

namespace install::product_impl {

using component_impl::ComponentImpl;
using fl::i18n::ustring_to_utf8;
using Model = datamodels::transitive_closure::Product;

ProductImpl::ProductImpl(const Model& model)
    : basecode_(model->basecode),
      name_(model->name),
      number_(model->number),
      type_(model->type),
      version_(model->version),
      release_(model->release),
      releaseDescription_(model->releaseDescription),
      controlling_(model->controlling),
      installedDate_(model->installedDate),
      platforms_(model->getPlatforms()),
      requiredProductsBasecodes_(convertToInstallerRequiredProductsBasecodes(model)),
      components_(convertToInstallerComponents(model)),
      platformXmls_(converToInstallerPlatformXmls(model)),
      localeXmls_(converToInstallerLocaleXmls(model)),
      altDependencies_(convertToInstallerAltDependencies(model)) {}

ProductImpl::~ProductImpl() = default;

std::vector<ustring> ProductImpl::convertToInstallerRequiredProductsBasecodes(const Model& model) {
    const auto& products = model->getRequiredProducts();
    std::vector<ustring> basecodes;
    basecodes.reserve(products.size());
    for (const auto& [key, product] : products)
        basecodes.push_back(product->basecode);
    return basecodes;
}

ComponentMap ProductImpl::convertToInstallerComponents(const Model& model) {
    ComponentMap components;
    // The model's own keys are not used. A component is made even if its key is taken already, so
    // that a failure to make it never goes unnoticed.
    // The key is copied first, so that of two faults it is always the same one that is reported.
    for (const auto& [key, component] : model->getDirectRequiredComponents()) {
        ustring component_key = component->componentKey;
        components.emplace(std::move(component_key),
                           std::make_shared<const ComponentImpl>(component));
    }
    return components;
}

namespace {

// Of several documents with one tag the first is kept. Braces, here and below, because their
// initialisers run in order: of several faults the first is reported.
XmlMap to_utf8(const Model::Impl::Xmls& xmls) {
    XmlMap documents;
    for (const auto& [tag, text] : xmls)
        documents.insert(XmlMap::value_type{ustring_to_utf8(tag), ustring_to_utf8(text)});
    return documents;
}

} // namespace

XmlMap ProductImpl::converToInstallerPlatformXmls(const Model& model) {
    return to_utf8(model->getPlatformXmls());
}

XmlMap ProductImpl::converToInstallerLocaleXmls(const Model& model) {
    return to_utf8(model->getLocaleXmls());
}

std::vector<AltDependency> ProductImpl::convertToInstallerAltDependencies(const Model& model) {
    const auto& models = model->getAltDependencies();
    std::vector<AltDependency> dependencies;
    dependencies.reserve(models.size());
    for (const auto& fields : models) {
        AltDependency dependency{ustring_to_utf8(fields.field1), ustring_to_utf8(fields.field2),
                                 ustring_to_utf8(fields.field3), ustring_to_utf8(fields.field4),
                                 ustring_to_utf8(fields.field5)};
        dependencies.push_back(std::move(dependency));
    }
    return dependencies;
}

} // namespace install::product_impl
