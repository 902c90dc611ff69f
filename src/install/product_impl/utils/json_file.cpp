#include "install/product_impl/utils/json_file.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "install/product_impl/utils/files.hpp"

#include <string>
#include <utility>

namespace install::product_impl::utils {

using foundation::json::Value;
using foundation::json::ValueMap;

ValueMap getJsonObjFromFile(const ustring& path) {
    Value document;
    {
        const std::string text = readFile(path);
        auto pos = text.begin();
        // The result is of no interest: a failure leaves the document undefined, and get() raises.
        static_cast<void>(foundation::json::detail::parse_value(document, pos, text.end(), false));
    }
    return std::move(document.get<ValueMap>());
}

} // namespace install::product_impl::utils
