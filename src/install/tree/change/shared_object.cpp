#include "install/tree/change/shared_object.hpp"

#include "foundation/json/typed_integers.hpp"
#include "install/tree/damaged_name.hpp"
#include "install/tree/in_quotes.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <stdexcept>
#include <utility>

namespace install::tree {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::detail::EditableObject;

SharedObject::SharedObject(const Directory& directory, std::string_view name)
    : name_(name),
      path_(directory.path_of(name_)) {
    if (auto text = directory.read(name_)) {
        old_name_ = name_ + std::string(tree_names::old_suffix);
        read(std::move(*text));
    }
}

SharedObject::SharedObject(const Directory& directory, std::string_view name, ValueMap members)
    : name_(name),
      path_(directory.path_of(name_)),
      object_(std::move(members)),
      old_name_(free_damaged_name(directory, name_)) {}

void SharedObject::read(std::string text) {
    try {
        object_ = EditableObject(std::move(text));
    } catch (const std::runtime_error& error) {
        throw tree_error("read", path_, error.what());
    }
}

void SharedObject::set(const std::string& key, Value value) {
    object_.set(key, std::move(value));
    // The next reader takes this member for the data of typed integers, if there is a type, and
    // refuses the file if it is none.
    if (key == foundation::json::typed_data_key)
        read(std::move(object_).text());
}

Value SharedObject::take(const std::string& key) {
    auto value = find_and_take(key);
    if (!value)
        throw tree_error("remove " + in_quotes(key) + " from", path_, "There is no such entry.");
    return std::move(*value);
}

void SharedObject::keep_old(Journal& journal) const {
    if (!old_name_.empty())
        journal.keep(name_, old_name_);
}

} // namespace install::tree
