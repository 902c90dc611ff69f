#include "install/product_impl/utils/paths.hpp"

namespace install::product_impl::utils {

namespace {

fl::filesystem::path appdata_path(const ustring& installRoot) {
    fl::filesystem::path path(installRoot);
    path.append_element(u"appdata");
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
    return getNameVersionPlatformKey(name, version, platform).append(u".xml");
}

fl::filesystem::path getXmlPath(const ustring& installRoot, const ustring& name,
                                const ustring& version, const ustring& platform) {
    return appdata_path(installRoot)
        .append_element(u"products")
        .append_element(getXmlFileName(name, version, platform));
}

fl::filesystem::path getRelativeXmlPath(const ustring& installRoot, const ustring& name,
                                        const ustring& version, const ustring& platform) {
    const fl::filesystem::path path = getXmlPath(installRoot, name, version, platform);
    return fl::filesystem::path(path.text().substr(installRoot.size()));
}

fl::filesystem::path getContentsMapPath(const ustring& installRoot) {
    return appdata_path(installRoot).append_element(u"prodcontents.json");
}

fl::filesystem::path getInstalledProdDataPath(const ustring& installRoot) {
    return appdata_path(installRoot).append_element(u"installedProductData.json");
}

} // namespace install::product_impl::utils
