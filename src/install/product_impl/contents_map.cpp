// The second stage of serialize: the contents map, prodcontents.json. It has one entry for each
// product of the tree, which lists the product's XML files.

#include "fl/filesystem/operations.hpp"
#include "fl/i18n/text_conversion.hpp"
#include "foundation/json/detail/editable_object.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/paths.hpp"
#include "install/tree_names.hpp"

#include <string>
#include <utility>

namespace install::product_impl {

using foundation::json::Value;
using foundation::json::ValueVector;
using foundation::json::detail::EditableObject;

namespace {

std::string entry_key(const ustring& name, const ustring& version) {
    return fl::i18n::ustring_to_utf8(
        utils::getNameVersionPlatformKey(name, version, tree_names::utf16(tree_names::entry_tag)));
}

} // namespace

void ProductImpl::writeContentsMap(const ustring& installRoot,
                                   const std::vector<std::string>& platforms,
                                   const std::string& locale) const {
    const fl::filesystem::path path = utils::getContentsMapPath(installRoot);
    if (fl::filesystem::exists(path))
        addEntryInContentsMap(installRoot, path.text(), platforms, locale);
    else
        createContentsMap(installRoot, path.text(), platforms, locale);
}

void ProductImpl::createContentsMap(const ustring& installRoot, const ustring& filePath,
                                    const std::vector<std::string>& platforms,
                                    const std::string& locale) const {
    Value paths(getRelativeXmlPaths(installRoot, platforms, locale));
    EditableObject entries;
    entries.set(entry_key(name_, version_), std::move(paths));
    utils::writeFile(filePath, std::move(entries).text());
}

void ProductImpl::addEntryInContentsMap(const ustring& installRoot, const ustring& filePath,
                                        const std::vector<std::string>& platforms,
                                        const std::string& locale) const {
    EditableObject entries(utils::readFile(filePath));
    const std::string key = entry_key(name_, version_); // before the paths: its fault comes first
    entries.set(key, Value(getRelativeXmlPaths(installRoot, platforms, locale)));
    utils::writeFile(filePath, std::move(entries).text());
}

ValueVector ProductImpl::getRelativeXmlPaths(const ustring& installRoot,
                                             const std::vector<std::string>& platforms,
                                             const std::string& locale) const {
    ValueVector paths;
    const auto add = [&](const std::string& tag) {
        const fl::filesystem::path path =
            utils::getRelativeXmlPath(installRoot, name_, version_, fl::i18n::utf8_to_ustring(tag));
        paths.emplace_back(fl::i18n::ustring_to_utf8(path.text()));
    };
    for (const std::string& platform : platforms)
        if (shouldWritePlatformXml(platform))
            add(platform);
    if (shouldWriteLocaleXml(locale))
        add(locale);
    return paths;
}

} // namespace install::product_impl
