// The third stage of serialize: the installed record, installedProductData.json. It has one entry
// for each product of the tree: the time at which the product was last written.

#include "fl/filesystem/operations.hpp"
#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/json_object_file.hpp"
#include "install/product_impl/utils/paths.hpp"

#include <chrono>
#include <string>

namespace install::product_impl {

using foundation::json::Value;

namespace {

// Milliseconds since the Unix epoch, truncated towards zero.
long long now_in_milliseconds() {
    const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(since_epoch).count();
}

} // namespace

void ProductImpl::writeInstalledProdData(const ustring& installRoot) const {
    const fl::filesystem::path path = utils::getInstalledProdDataPath(installRoot);
    if (fl::filesystem::exists(path))
        addEntryInInstalledProdData(path);
    else
        createInstalledProdData(path);
}

void ProductImpl::createInstalledProdData(const fl::filesystem::path& filePath) const {
    const std::string key = fl::i18n::ustring_to_utf8(basecode_);
    auto file = utils::JsonObjectFile::without_members(filePath.text());
    file.set(key, Value(now_in_milliseconds()));
    file.write();
}

void ProductImpl::addEntryInInstalledProdData(const fl::filesystem::path& filePath) const {
    utils::JsonObjectFile file(filePath.text());
    const std::string key = fl::i18n::ustring_to_utf8(basecode_); // before the clock is read
    file.set(key, Value(now_in_milliseconds()));
    file.write();
}

} // namespace install::product_impl
