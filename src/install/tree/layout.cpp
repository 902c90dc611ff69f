#include "install/tree/layout.hpp"

#include "fl/filesystem/native_access.hpp"
#include "fl/filesystem/path.hpp"
#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/utils/paths.hpp"

namespace install::tree {

namespace {

namespace utils = product_impl::utils;

std::string native(const fl::filesystem::path& path) {
    return fl::filesystem::detail::make_native_access_form_with_cleanup_i18n(path.text());
}

std::string parent(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

std::string name_below(const std::string& directory, const std::string& path) {
    return path.substr(directory.size() + 1);
}

} // namespace

Layout::Layout(const ustring& installRoot)
    : root(installRoot),
      appdata(parent(native(utils::getContentsMapPath(installRoot)))),
      contents_map(name_below(appdata, native(utils::getContentsMapPath(installRoot)))),
      installed_record(name_below(appdata, native(utils::getInstalledProdDataPath(installRoot)))) {}

std::string Layout::document(const ustring& name, const ustring& version,
                             const std::string& tag) const {
    const auto path = utils::getXmlPath(root, name, version, fl::i18n::utf8_to_ustring(tag));
    return name_below(appdata, native(path));
}

} // namespace install::tree
