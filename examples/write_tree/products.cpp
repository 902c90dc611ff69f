#include "products.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/datamodels/transitive_closure/product.hpp"

#include <initializer_list>
#include <map>
#include <string_view>
#include <utility>

namespace write_tree {

namespace {

using fl::i18n::utf8_to_ustring;
using install::ustring;
using install::product_impl::ProductImpl;
namespace model = install::datamodels::transitive_closure;

// Finds the package that a dependency names.
class PackageIndex {
public:
    explicit PackageIndex(const std::vector<Package>& packages) : packages_(packages) {
        for (std::size_t index = 0; index < packages.size(); ++index)
            by_name_.emplace(packages[index].name, index);
    }

    /// Returns whether the catalogue has the package for several architectures.
    [[nodiscard]] bool is_ambiguous(const std::string& name) const {
        return by_name_.count(name) > 1;
    }

    /// Returns the index of the package `name`, and null if there is none. A package for
    /// `architecture` is preferred, then one for all architectures, then any.
    [[nodiscard]] const std::size_t* find(const std::string& name,
                                          const std::string& architecture) const {
        const std::size_t* best = nullptr;
        const auto [first, last] = by_name_.equal_range(name);
        for (auto candidate = first; candidate != last; ++candidate) {
            const std::string& offered = packages_[candidate->second].architecture;
            if (offered == architecture)
                return &candidate->second;
            if (best == nullptr || offered == "all")
                best = &candidate->second;
        }
        return best;
    }

private:
    const std::vector<Package>& packages_;
    std::multimap<std::string, std::size_t> by_name_;
};

// Returns the indexes of the packages in the catalogue that a package requires without
// alternatives.
std::vector<std::size_t> requirements(const Package& package, const PackageIndex& index) {
    std::vector<std::size_t> found;
    for (const auto& choices : package.dependencies)
        if (choices.size() == 1)
            if (const auto* required = index.find(choices[0].name, package.architecture))
                found.push_back(*required);
    return found;
}

// Returns `text` as character data or an attribute value of an XML document. Characters that XML
// does not allow become U+FFFD.
ustring escaped(const std::string& text) {
    ustring result;
    for (const char16_t unit : utf8_to_ustring(text)) {
        if (unit == u'&')
            result += u"&amp;";
        else if (unit == u'<')
            result += u"&lt;";
        else if (unit == u'>')
            result += u"&gt;";
        else if (unit == u'"')
            result += u"&quot;";
        else if ((unit < u' ' && unit != u'\t') || unit >= 0xFFFE)
            result += u'\uFFFD';
        else
            result += unit;
    }
    return result;
}

constexpr std::u16string_view xml_declaration = u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

using Attributes = std::initializer_list<std::pair<std::u16string_view, std::string>>;

// Appends `<name attribute="value" ...`; the caller closes the tag.
void append_tag(ustring& xml, std::u16string_view name, const Attributes& attributes) {
    xml.append(u"<").append(name);
    for (const auto& [attribute, value] : attributes)
        xml.append(u" ").append(attribute).append(u"=\"").append(escaped(value)).append(u"\"");
}

ustring platform_document(const Package& package) {
    ustring xml(xml_declaration);
    append_tag(xml, u"product",
               {{u"basecode", package.basecode()},
                {u"version", package.version},
                {u"section", package.section}});
    xml += u">\n";
    for (const auto& choices : package.dependencies) {
        xml += u"  <requires>\n";
        for (const Choice& choice : choices) {
            xml += u"    ";
            append_tag(xml, u"package", {{u"name", choice.name}, {u"version", choice.condition}});
            xml += u"/>\n";
        }
        xml += u"  </requires>\n";
    }
    xml += u"</product>\n";
    return xml;
}

ustring locale_document(const Package& package) {
    ustring xml(xml_declaration);
    append_tag(xml, u"product", {{u"basecode", package.basecode()}, {u"xml:lang", locale}});
    xml += u">\n  <summary>";
    xml += escaped(package.summary);
    xml += u"</summary>\n</product>\n";
    return xml;
}

// Returns the names and conditions of the first two choices, then the names of all others.
model::AltDependency alt_dependency(const std::vector<Choice>& choices) {
    std::string further;
    for (std::size_t index = 2; index < choices.size(); ++index)
        further += (further.empty() ? "" : " | ") + choices[index].name;
    return {utf8_to_ustring(choices[0].name), utf8_to_ustring(choices[0].condition),
            utf8_to_ustring(choices[1].name), utf8_to_ustring(choices[1].condition),
            utf8_to_ustring(further)};
}

model::Component own_component(const Package& package) {
    model::Component component;
    component->componentKey = utf8_to_ustring(package.basecode());
    component->name = utf8_to_ustring(package.name);
    return component;
}

model::Product product_model(const Package& package, const std::vector<Package>& packages,
                             const PackageIndex& index) {
    model::Product product;
    product->basecode = utf8_to_ustring(package.basecode());
    // Only name and version distinguish the products of a tree.
    product->name =
        utf8_to_ustring(index.is_ambiguous(package.name) ? package.basecode() : package.name);
    product->number = utf8_to_ustring(std::to_string(package.line));
    product->type = utf8_to_ustring(package.section);
    product->version = utf8_to_ustring(package.version);
    product->release = product->version;
    product->releaseDescription = utf8_to_ustring(package.summary);
    const ustring architecture = utf8_to_ustring(package.architecture);
    product->platforms.insert(architecture);
    product->directRequiredComponents.emplace(product->basecode, own_component(package));
    product->platformXmls.emplace_back(architecture, platform_document(package));
    product->localeXmls.emplace_back(utf8_to_ustring(locale), locale_document(package));
    for (const std::size_t required : requirements(package, index)) {
        // Only the basecode is set: a product copies nothing else of those that it requires.
        model::Product stub;
        stub->basecode = utf8_to_ustring(packages[required].basecode());
        product->requiredProducts.emplace(stub->basecode, stub);
    }
    for (const auto& choices : package.dependencies)
        if (choices.size() > 1)
            product->altDependencies.push_back(alt_dependency(choices));
    return product;
}

} // namespace

Products::Products(const std::vector<Package>& packages) {
    const PackageIndex index(packages);
    products_.reserve(packages.size());
    for (const Package& package : packages)
        products_.push_back(std::make_shared<ProductImpl>(product_model(package, packages, index)));
    for (std::size_t position = 0; position < packages.size(); ++position) {
        install::product_impl::RequiredProductMap required;
        for (const std::size_t other : requirements(packages[position], index))
            required.emplace(products_[other]->getBasecode(), products_[other]);
        products_[position]->setRequiredProducts(required);
    }
}

Products::~Products() {
    for (const ProductPointer& product : products_)
        product->setRequiredProducts({});
}

} // namespace write_tree
