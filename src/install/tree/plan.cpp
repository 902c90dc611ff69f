#include "install/tree/plan.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/utils/paths.hpp"

#include <stdexcept>

namespace install::tree {

namespace {

using fl::i18n::ustring_to_utf8;
using foundation::json::Value;
using product_impl::XmlMap;

// Adds a product to the plan.
void add(const Layout& layout, const ProductSelection& selection, Plan& plan) {
    const product_impl::ProductImpl& product = *selection.product;
    const ustring name = product.getName();
    const ustring version = product.getVersion();
    const auto add_document = [&](const XmlMap& documents, const std::string& tag) {
        const auto document = documents.find(tag);
        if (document != documents.end())
            plan.documents.insert_or_assign(layout.document(name, version, tag), &document->second);
    };
    for (const std::string& platform : selection.platforms)
        add_document(product.getPlatformXmls(), platform);
    add_document(product.getLocaleXmls(), selection.locale);
    const ustring key = product_impl::utils::getNameVersionPlatformKey(
        name, version, fl::i18n::utf8_to_ustring(entry_key_tag));
    plan.entries.push_back(
        {ustring_to_utf8(key),
         Value(product.getRelativeXmlPaths(layout.root, selection.platforms, selection.locale)),
         ustring_to_utf8(product.getBasecode())});
}

} // namespace

Plan plan_write(const Layout& layout, const std::vector<ProductSelection>& selections) {
    Plan plan;
    plan.entries.reserve(selections.size());
    for (const ProductSelection& selection : selections) {
        if (!selection.product)
            throw std::invalid_argument("a selection without a product");
        add(layout, selection, plan);
    }
    return plan;
}

} // namespace install::tree
