// The text of a JSON object in canonical form, and the in-place edit of one of its members.

#pragma once

#include "foundation/json/value.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::json::detail {

// A text is in canonical form if a round trip through the reader and the writer would not change
// it. In such a text a member can be replaced without making values of the others. The files that
// all products share are in this form, and grow long.
//
// Only texts as plain as these files are recognised. Keys and strings have no escapes; each value
// is a string, a list of strings, or a whole number of at most 15 digits; no key is one of those
// that make integers of other members' numbers.
class CanonicalObject {
public:
    // An object without members.
    CanonicalObject() = default;

    // Takes `text` over if it is recognised, and leaves it alone otherwise. Throws std::bad_alloc.
    [[nodiscard]] static std::optional<CanonicalObject> take(std::string& text);

    // Whether a member may have this key.
    [[nodiscard]] static bool allows_key(std::string_view key);

    // Replaces the value of the member `key`, which must be allowed, or inserts it where the order
    // of the keys puts it. The value may be any. Throws what serialize throws, and changes nothing
    // then.
    void set_member(const std::string& key, Value value);

    [[nodiscard]] const std::string& text() const noexcept { return text_; }

private:
    [[nodiscard]] std::string_view key_at(std::size_t begin) const;
    void replace_member(std::size_t index, const std::string& member);
    void insert_member(std::size_t index, const std::string& member);
    void shift_members(std::size_t first, std::size_t distance);

    std::string text_ = "{}";
    std::vector<std::size_t> members_; // where each begins, in ascending order of the keys
};

} // namespace foundation::json::detail
