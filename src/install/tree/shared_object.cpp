#include "install/tree/shared_object.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "foundation/json/serialize.hpp"
#include "foundation/json/typed_integers.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/tree_error.hpp"

#include <utility>

namespace install::tree {

using foundation::json::Value;
using foundation::json::ValueMap;

ValueMap members_of(const std::string& text) {
    Value document;
    auto pos = text.begin();
    // A failure leaves the document undefined, and get() throws.
    static_cast<void>(foundation::json::detail::parse_value(document, pos, text.end(), false));
    return std::move(document.get<ValueMap>());
}

namespace {

ValueMap members_of(const std::string& text, const std::string& path) {
    try {
        return tree::members_of(text);
    } catch (const std::runtime_error& error) {
        throw tree_error("read", path, error.what());
    }
}

} // namespace

SharedObject::SharedObject(const Directory& directory, const std::string& name)
    : name_(name),
      path_(directory.path_of(name)) {
    if (const auto text = directory.read(name)) {
        members_ = members_of(*text, path_);
        exists_ = true;
    }
}

void SharedObject::set(const std::string& key, Value value) {
    if (reads_back_changed_)
        read_back();
    members_.insert_or_assign(key, std::move(value));
    // These two change how other members are read.
    reads_back_changed_ =
        key == foundation::json::typed_data_key || key == foundation::json::typed_type_key;
}

Value SharedObject::take(const std::string& key) {
    auto member = members_.extract(key);
    if (member.empty())
        throw tree_error("remove \"" + printable(key) + "\" from", path_,
                         "There is no such entry.");
    return std::move(member.mapped());
}

// Leaves the object as the next write would find it.
void SharedObject::read_back() {
    members_ = members_of(foundation::json::serialize(Value(std::move(members_))), path_);
    reads_back_changed_ = false;
}

std::string SharedObject::text() {
    Value document(std::move(members_));
    std::string text = foundation::json::serialize(document);
    if (reads_back_changed_)
        static_cast<void>(members_of(text, path_));
    members_ = std::move(document.get<ValueMap>());
    return text;
}

void put_shared_file(Transaction& transaction, SharedObject& object) {
    if (object.exists())
        transaction.keep(object.name(), object.name() + old_suffix);
    transaction.put(object.name(), object.text());
}

} // namespace install::tree
