// A plug-in of an installer that uses the library: loading it loads the library.

#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "install/product_impl/utils/paths.hpp"
#include "support/models.hpp"

#include <stdexcept>

using namespace install::product_impl;
using foundation::json::Value;
using foundation::json::ValueMap;

// Writes a product below `root` and reads the tree back. Returns the number of its products, and -1
// where the library throws what it documents.
extern "C" KX_EXPORT int products_after_a_write(const char* root) {
    const install::ustring wide = fl::i18n::utf8_to_ustring(root);
    try {
        ProductImpl(test::sample_model()).serialize(wide, {"hostpf"}, "en");
        const Value map(utils::getJsonObjFromFile(utils::getContentsMapPath(wide).text()));
        return static_cast<int>(map.get_if<ValueMap>()->size());
    } catch (const std::runtime_error&) {
        return -1;
    }
}
