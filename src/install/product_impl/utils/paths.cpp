#include "install/product_impl/utils/paths.hpp"

#include "install/tree_names.hpp"

namespace install::product_impl::utils {

using tree_names::utf16;

namespace {

fl::filesystem::path appdata_path(const ustring& installRoot) {
    fl::filesystem::path path(installRoot);
    path.append_element(utf16(tree_names::appdata));
    return path;
}

} // namespace

ustring getNameVersionPlatformKey(const ustring& name, const ustring& version,
                                  const ustring& platform) {
    ustring key;
    key.reserve(name.size() + version.size() + platform.size() + 2);
    key.append(name).append(u" ").append(version).append(u" ").append(platform);
    return key;
}

ustring getXmlFileName(const ustring& name, const ustring& version, const ustring& platform) {
    return getNameVersionPlatformKey(name, version, platform)
        .append(utf16(tree_names::document_suffix));
}

fl::filesystem::path getXmlPath(const ustring& installRoot, const ustring& name,
                                const ustring& version, const ustring& platform) {
    return appdata_path(installRoot)
        .append_element(utf16(tree_names::documents))
        .append_element(getXmlFileName(name, version, platform));
}

fl::filesystem::path getRelativeXmlPath(const ustring& installRoot, const ustring& name,
                                        const ustring& version, const ustring& platform) {
    const fl::filesystem::path path = getXmlPath(installRoot, name, version, platform);
    return fl::filesystem::path(path.text().substr(installRoot.size()));
}

fl::filesystem::path getContentsMapPath(const ustring& installRoot) {
    return appdata_path(installRoot).append_element(utf16(tree_names::contents_map));
}

fl::filesystem::path getInstalledProdDataPath(const ustring& installRoot) {
    return appdata_path(installRoot).append_element(utf16(tree_names::installed_record));
}

} // namespace install::product_impl::utils
