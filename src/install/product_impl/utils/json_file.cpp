#include "install/product_impl/utils/json_file.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/object_in_text.hpp"

#include <string>
#include <utility>

namespace install::product_impl::utils {

using foundation::json::Value;
using foundation::json::ValueMap;

ValueMap object_in_text(const std::string& text) {
    Value document;
    auto pos = text.begin();
    // The result is of no interest: a failure leaves the document undefined, and get() raises.
    static_cast<void>(foundation::json::detail::parse_value(document, pos, text.end(), false));
    return std::move(document.get<ValueMap>());
}

ValueMap getJsonObjFromFile(const ustring& path) {
    return object_in_text(readFile(path));
}

} // namespace install::product_impl::utils
