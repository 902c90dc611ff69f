// The third stage of serialize: the installed record, installedProductData.json. It has one entry
// for each product of the tree: the time at which the product was last written.

#include "fl/filesystem/operations.hpp"
#include "fl/i18n/text_conversion.hpp"
#include "foundation/json/detail/editable_object.hpp"
#include "install/clock.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/paths.hpp"

#include <string>
#include <utility>

namespace install::product_impl {

using foundation::json::Value;
using foundation::json::detail::EditableObject;

void ProductImpl::writeInstalledProdData(const ustring& installRoot) const {
    const fl::filesystem::path path = utils::getInstalledProdDataPath(installRoot);
    if (fl::filesystem::exists(path))
        addEntryInInstalledProdData(path);
    else
        createInstalledProdData(path);
}

void ProductImpl::createInstalledProdData(const fl::filesystem::path& filePath) const {
    const std::string key = fl::i18n::ustring_to_utf8(basecode_);
    EditableObject times;
    times.set(key, Value(milliseconds_since_epoch()));
    utils::writeFile(filePath.text(), std::move(times).text());
}

void ProductImpl::addEntryInInstalledProdData(const fl::filesystem::path& filePath) const {
    EditableObject times(utils::readFile(filePath.text()));
    const std::string key = fl::i18n::ustring_to_utf8(basecode_); // before the clock is read
    times.set(key, Value(milliseconds_since_epoch()));
    utils::writeFile(filePath.text(), std::move(times).text());
}

} // namespace install::product_impl
