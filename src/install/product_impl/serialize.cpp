#include "install/product_impl/product_impl.hpp"

namespace install::product_impl {

// The order matters: only the XML stage makes directories, and the JSON files are in one of them.
void ProductImpl::serialize(const ustring& installRoot, const std::vector<std::string>& platforms,
                            const std::string& locale) const {
    writeXml(installRoot, platforms, locale);
    writeContentsMap(installRoot, platforms, locale);
    writeInstalledProdData(installRoot);
}

} // namespace install::product_impl
