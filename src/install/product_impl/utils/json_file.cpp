#include "install/product_impl/utils/json_file.hpp"

#include "foundation/json/detail/editable_object.hpp"
#include "install/product_impl/utils/files.hpp"

namespace install::product_impl::utils {

foundation::json::ValueMap getJsonObjFromFile(const ustring& path) {
    return foundation::json::detail::object_in_text(readFile(path));
}

} // namespace install::product_impl::utils
