// The second stage of serialize: prodcontents.json, which lists the XML files of every product in
// the tree. Each product owns one entry of it.

#include "fl/filesystem/operations.hpp"
#include "fl/i18n/text_conversion.hpp"
#include "foundation/json/serialize.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/entry_replacement.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/paths.hpp"

#include <utility>

namespace install::product_impl {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;

namespace {

// The same tag for every product, whatever platforms it is written for: its entry must be found
// again by an install for others.
std::string entry_key(const ustring& name, const ustring& version) {
    return fl::i18n::ustring_to_utf8(utils::getNameVersionPlatformKey(name, version, u"hostpf"));
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
    ValueMap entries;
    entries.emplace(entry_key(name_, version_), std::move(paths));
    utils::writeFile(filePath, foundation::json::serialize(Value(std::move(entries))));
}

void ProductImpl::addEntryInContentsMap(const ustring& installRoot, const ustring& filePath,
                                        const std::vector<std::string>& platforms,
                                        const std::string& locale) const {
    utils::replace_entry(
        filePath, [&] { return entry_key(name_, version_); },
        [&] { return Value(getRelativeXmlPaths(installRoot, platforms, locale)); });
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
