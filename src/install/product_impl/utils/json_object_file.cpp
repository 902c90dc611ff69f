#include "install/product_impl/utils/json_object_file.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "foundation/json/serialize.hpp"
#include "install/product_impl/utils/files.hpp"

#include <utility>

namespace install::product_impl::utils {

using foundation::json::Value;
using foundation::json::ValueMap;

ValueMap object_in_text(const std::string& text) {
    Value document;
    auto pos = text.begin();
    // A failure leaves the document undefined, and get() throws.
    static_cast<void>(foundation::json::detail::parse_value(document, pos, text.end(), false));
    return std::move(document.get<ValueMap>());
}

JsonObjectFile::JsonObjectFile(const ustring& path) : path_(path) {
    std::string text = readFile(path);
    if (auto canonical = Text::take(text))
        object_ = std::move(*canonical);
    else
        object_ = Value(object_in_text(text));
}

JsonObjectFile::JsonObjectFile(const ustring& path, Text empty)
    : path_(path),
      object_(std::move(empty)) {}

JsonObjectFile JsonObjectFile::without_members(const ustring& path) {
    return {path, Text()};
}

void JsonObjectFile::set(const std::string& key, Value value) {
    if (auto* const text = std::get_if<Text>(&object_)) {
        if (text->set_member(key, value))
            return;
        object_ = Value(object_in_text(text->text()));
    }
    std::get<Value>(object_).get<ValueMap>().insert_or_assign(key, std::move(value));
}

void JsonObjectFile::write() const {
    if (const auto* const text = std::get_if<Text>(&object_))
        writeFile(path_, text->text());
    else
        writeFile(path_, foundation::json::serialize(std::get<Value>(object_)));
}

} // namespace install::product_impl::utils
