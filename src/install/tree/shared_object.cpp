#include "install/tree/shared_object.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "foundation/json/serialize.hpp"
#include "foundation/json/typed_integers.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/tree_error.hpp"

#include <stdexcept>
#include <utility>

namespace install::tree {

using foundation::json::Value;
using foundation::json::ValueMap;

namespace {

// A map of the whole text costs as much as some ten edits.
constexpr int most_edits_of_text = 8;

ValueMap members_of(const std::string& text, const std::string& path) {
    try {
        return tree::members_of(text);
    } catch (const std::runtime_error& error) {
        throw tree_error("read", path, error.what());
    }
}

} // namespace

ValueMap members_of(const std::string& text) {
    Value document;
    auto pos = text.begin();
    // A failure leaves the document undefined, and get() throws.
    static_cast<void>(foundation::json::detail::parse_value(document, pos, text.end(), false));
    return std::move(document.get<ValueMap>());
}

SharedObject::SharedObject(const Directory& directory, const std::string& name)
    : name_(name),
      path_(directory.path_of(name)) {
    auto text = directory.read(name);
    if (!text)
        return;
    exists_ = true;
    if (auto canonical = Text::take(*text))
        object_ = std::move(*canonical);
    else
        object_ = Value(members_of(*text, path_));
}

// The object as the next write would find it, if that differs, and as a map in any case.
ValueMap& SharedObject::map() {
    if (const auto* const text = std::get_if<Text>(&object_))
        object_ = Value(members_of(text->text(), path_));
    else if (std::exchange(reads_back_changed_, false))
        object_ = Value(members_of(foundation::json::serialize(std::get<Value>(object_)), path_));
    return std::get<Value>(object_).get<ValueMap>();
}

void SharedObject::set(const std::string& key, Value value) {
    auto* const text = std::get_if<Text>(&object_);
    if (text != nullptr && ++edits_ <= most_edits_of_text && text->set_member(key, value))
        return;
    map().insert_or_assign(key, std::move(value));
    // These two change how other members are read.
    reads_back_changed_ =
        key == foundation::json::typed_data_key || key == foundation::json::typed_type_key;
}

Value SharedObject::take(const std::string& key) {
    auto member = map().extract(key);
    if (member.empty())
        throw tree_error("remove \"" + printable(key) + "\" from", path_,
                         "There is no such entry.");
    return std::move(member.mapped());
}

void SharedObject::put_into(Transaction& transaction) const {
    if (exists_)
        transaction.keep(name_, name_ + old_suffix);
    if (const auto* const text = std::get_if<Text>(&object_))
        return transaction.put(name_, text->text());
    const std::string text = foundation::json::serialize(std::get<Value>(object_));
    if (reads_back_changed_)
        static_cast<void>(members_of(text, path_));
    transaction.put(name_, text);
}

} // namespace install::tree
