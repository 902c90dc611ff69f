// A module of an installer that uses the library: loading it loads the library.

#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "install/product_impl/utils/paths.hpp"
#include "support/models.hpp"

#include <stdexcept>

using namespace install::product_impl;

// Writes a product below `root` and reads the tree back; gives the number of products in it, and -1
// where the library raises what it says in such a case.
extern "C" KX_EXPORT int products_after_a_write(const char* root) {
    const install::ustring wide = fl::i18n::utf8_to_ustring(root);
    try {
        ProductImpl(test::sample_model()).serialize(wide, {"hostpf"}, "en");
        return int(utils::getJsonObjFromFile(utils::getContentsMapPath(wide).text()).size());
    } catch (const std::runtime_error&) {
        return -1;
    }
}
