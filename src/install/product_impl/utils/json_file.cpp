#include "install/product_impl/utils/json_file.hpp"

#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/json_object_file.hpp"

namespace install::product_impl::utils {

foundation::json::ValueMap getJsonObjFromFile(const ustring& path) {
    return object_in_text(readFile(path));
}

} // namespace install::product_impl::utils
