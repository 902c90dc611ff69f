// A JSON object that is read from a text, edited, and becomes a text again.

#pragma once

#include "foundation/json/detail/canonical_text.hpp"
#include "foundation/json/value.hpp"

#include <optional>
#include <string>
#include <utility>

namespace foundation::json::detail {

// Returns the members of the object that `text` begins with. Throws std::runtime_error, as
// Value::get does, if it begins with none.
[[nodiscard]] ValueMap object_in_text(const std::string& text);

// A text in canonical form is edited in-place as long as there are few edits, of which each costs
// time in proportion to the text, and as long as the writer's own texts are in that form. Otherwise
// the text becomes a map once, and a text again in the end. Both leave the same bytes.
class EditableObject {
public:
    // An object without members, which becomes a text as the writer has it.
    EditableObject() = default;
    // The object that `text` begins with. Throws as object_in_text does.
    explicit EditableObject(std::string text);
    explicit EditableObject(CanonicalText text) noexcept : text_(std::move(text)) {}
    explicit EditableObject(ValueMap members) noexcept : members_(std::move(members)) {}

    // Replaces the value of the member `key`, or inserts the member. Throws what the writer throws,
    // and std::bad_alloc; the object is unchanged then.
    void set(const std::string& key, Value value);
    // Removes the member `key`, and returns its value; nothing if there is none.
    [[nodiscard]] std::optional<Value> take(const std::string& key);

    // Returns the members. The reference is valid until the object is changed or destroyed.
    [[nodiscard]] const ValueMap& members() { return map(); }
    // Returns the text, and leaves the object without members. Throws what the writer throws.
    [[nodiscard]] std::string text() &&;

private:
    ValueMap& map();

    std::optional<CanonicalText> text_; // as long as it is edited in-place
    ValueMap members_;                  // otherwise
    int edits_ = 0;
};

} // namespace foundation::json::detail
