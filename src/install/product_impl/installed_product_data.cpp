// The third stage of serialize: installedProductData.json, which says of every product in the tree
// when it was last written.

#include "fl/filesystem/operations.hpp"
#include "fl/i18n/text_conversion.hpp"
#include "foundation/json/serialize.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/entry_replacement.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/paths.hpp"

#include <chrono>
#include <utility>

namespace install::product_impl {

using foundation::json::Value;
using foundation::json::ValueMap;

namespace {

// Milliseconds since the Unix epoch, cut towards zero.
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
    std::string key = fl::i18n::ustring_to_utf8(basecode_);
    ValueMap entries;
    entries.emplace(std::move(key), Value(now_in_milliseconds()));
    utils::writeFile(filePath.text(), foundation::json::serialize(Value(std::move(entries))));
}

void ProductImpl::addEntryInInstalledProdData(const fl::filesystem::path& filePath) const {
    utils::replace_entry(
        filePath.text(), [&] { return fl::i18n::ustring_to_utf8(basecode_); },
        [] { return Value(now_in_milliseconds()); });
}

} // namespace install::product_impl
