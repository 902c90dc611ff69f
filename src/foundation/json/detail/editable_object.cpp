#include "foundation/json/detail/editable_object.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "foundation/json/serialize.hpp"

#include <utility>

namespace foundation::json::detail {

namespace {

// A map of the whole text costs as much as some ten edits.
constexpr int most_edits_in_place = 8;

} // namespace

ValueMap object_in_text(const std::string& text) {
    Value document;
    auto pos = text.begin();
    // A failure leaves the document undefined, and get() throws.
    static_cast<void>(parse_value(document, pos, text.end(), false));
    return std::move(document.get<ValueMap>());
}

EditableObject::EditableObject(std::string text) : text_(CanonicalText::recognise(text)) {
    if (!text_)
        members_ = object_in_text(text);
}

ValueMap& EditableObject::map() {
    if (text_) {
        members_ = object_in_text(text_->text());
        text_.reset();
    }
    return members_;
}

void EditableObject::set(const std::string& key, Value value) {
    if (!text_ || ++edits_ > most_edits_in_place) {
        map().insert_or_assign(key, std::move(value));
        return;
    }
    // The writer is only ever given objects: an installed one need not accept anything else.
    ValueMap member;
    member.emplace(key, std::move(value));
    Value object(std::move(member));
    if (!text_->set(serialize(object)))
        map().insert_or_assign(key, std::move(object.get<ValueMap>().at(key)));
}

std::optional<Value> EditableObject::take(const std::string& key) {
    auto member = map().extract(key);
    if (member.empty())
        return std::nullopt;
    return std::move(member.mapped());
}

std::string EditableObject::text() && {
    if (text_)
        return std::move(*text_).text();
    return serialize(Value(std::move(members_)));
}

} // namespace foundation::json::detail
