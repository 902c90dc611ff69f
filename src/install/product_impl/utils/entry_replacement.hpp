#pragma once

#include "foundation/json/serialize.hpp"
#include "foundation/json/value.hpp"
#include "install/product_impl/utils/canonical_object.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/object_in_text.hpp"
#include "install/ustring.hpp"

#include <string>
#include <utility>

namespace install::product_impl::utils {

/// Reads the JSON object at `path`, gives one member the value of `make_value`, and rewrites the
/// file; all other members are carried along. `make_key` and `make_value` are called in this order
/// once the file was read and found to hold an object. Raises as getJsonObjFromFile does, before
/// them.
template <class MakeKey, class MakeValue>
void replace_entry(const ustring& path, const MakeKey& make_key, const MakeValue& make_value) {
    std::string text = readFile(path);
    if (const auto object = CanonicalObject::recognise(text)) {
        const std::string key = make_key();
        object->set_member(text, key, foundation::json::serialize(make_value()));
    } else {
        foundation::json::ValueMap members = object_in_text(text);
        std::string key = make_key();
        members.insert_or_assign(std::move(key), make_value());
        text = foundation::json::serialize(foundation::json::Value(std::move(members)));
    }
    writeFile(path, text);
}

} // namespace install::product_impl::utils
