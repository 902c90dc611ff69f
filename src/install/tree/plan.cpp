#include "install/tree/plan.hpp"

#include "fl/filesystem/native_access.hpp"
#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/utils/paths.hpp"
#include "install/tree/report/texts.hpp"
#include "install/tree/state/entries.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <stdexcept>
#include <utility>

namespace install::tree {

namespace {

using fl::i18n::ustring_to_utf8;
using foundation::json::Value;
using foundation::json::ValueVector;
using product_impl::ProductImpl;

// Returns the name in appdata of a document that an entry is to list. Throws what readFile throws
// for a path that no file can have: no other path of a product leaves the directory of the
// documents.
std::string required_document_name(const std::string& path) {
    static_cast<void>(fl::filesystem::detail::make_native_access_form_with_cleanup_i18n(
        fl::i18n::utf8_to_ustring(path)));
    return document_name(path).value();
}

// Returns why a tag has no document. `what` is a platform or a locale, `tags` are those that have
// one.
std::string reason_of(const char* what, const std::string& tag,
                      const std::vector<std::string>& tags) {
    std::string reason = std::string("It has no document for the ") + what + ' ' + in_quotes(tag);
    const char* before = ", only for ";
    for (const std::string& other : tags)
        reason += std::exchange(before, ", ") + in_quotes(other);
    return reason + (tags.empty() ? ", nor for any other." : ".");
}

// Adds the documents of a selection, which are those that the entry lists, in the same order.
void add_documents(const ProductSelection& selection, Plan::Entry& entry, Plan& plan) {
    const ProductImpl& product = *selection.product;
    const auto& paths = entry.paths.get<ValueVector>();
    entry.listed.reserve(paths.size());
    auto path = paths.begin();
    const auto add = [&](Plan::Getter getter, const std::string& tag) {
        const auto [document, is_new] =
            plan.documents.insert_or_assign(required_document_name((path++)->get<std::string>()),
                                            Plan::Document{&product, getter, &tag});
        entry.listed.push_back(&document->second);
    };
    const auto skip = [&](const char* what, const std::string& tag, const auto& get_tags) {
        if (plan.skipped.empty())
            plan.reason_of_first = reason_of(what, tag, (product.*get_tags)());
        plan.skipped.push_back({entry.receipt.key, tag});
    };
    for (const std::string& platform : selection.platforms)
        if (product.shouldWritePlatformXml(platform)) {
            add(&ProductImpl::getPlatformXml, platform);
            entry.receipt.platforms.push_back(platform);
        } else {
            skip("platform", platform, &ProductImpl::getPlatformXmlTags);
        }
    if (product.shouldWriteLocaleXml(selection.locale)) {
        add(&ProductImpl::getLocaleXml, selection.locale);
        entry.receipt.locale = selection.locale;
    } else if (!selection.locale.empty()) {
        skip("locale", selection.locale, &ProductImpl::getLocaleXmlTags);
    }
}

void add_product(const Layout& layout, const ProductSelection& selection, Plan& plan) {
    const ProductImpl& product = *selection.product;
    Plan::Entry entry;
    entry.paths =
        Value(product.getRelativeXmlPaths(layout.root, selection.platforms, selection.locale));
    const ustring name = product.getName();
    const ustring version = product.getVersion();
    entry.receipt.key = ustring_to_utf8(product_impl::utils::getNameVersionPlatformKey(
        name, version, tree_names::utf16(tree_names::entry_tag)));
    entry.receipt.basecode = ustring_to_utf8(product.getBasecode());
    entry.receipt.name = ustring_to_utf8(name);
    entry.receipt.version = ustring_to_utf8(version);
    add_documents(selection, entry, plan);
    plan.entries.push_back(std::move(entry));
}

} // namespace

Plan plan_write(const Layout& layout, const std::vector<ProductSelection>& selections) {
    Plan plan;
    plan.entries.reserve(selections.size());
    for (const ProductSelection& selection : selections) {
        if (!selection.product)
            throw std::invalid_argument("a selection without a product");
        add_product(layout, selection, plan);
    }
    return plan;
}

void require_no_skipped(const Layout& layout, const Plan& plan) {
    if (plan.skipped.empty())
        return;
    std::string reason = plan.reason_of_first;
    if (const std::size_t others = plan.skipped.size() - 1; others > 0)
        reason += " So it is with " + std::to_string(others) + (others == 1 ? " tag" : " tags") +
                  " more.";
    throw tree_error("write " + in_quotes(plan.skipped.front().product) + " to", layout.appdata,
                     reason);
}

} // namespace install::tree
