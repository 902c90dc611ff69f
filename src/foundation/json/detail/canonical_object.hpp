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
// Only texts as plain as these files are recognised: keys and strings without escapes; values that
// are strings, lists of strings, or whole numbers of at most 15 digits; none of the two keys of
// typed integers.
class CanonicalObject {
public:
    // An object without members.
    CanonicalObject() = default;

    // Takes `text` over if it is recognised, and leaves it alone otherwise. Throws std::bad_alloc.
    [[nodiscard]] static std::optional<CanonicalObject> take(std::string& text);

    // Replaces the value of the member `key`, or inserts the member in the order of the keys; moves
    // from `value`, which may be any. Returns false, and changes nothing, if the key needs an
    // escape or is one of typed integers. Throws what serialize throws; the object is unchanged
    // then.
    [[nodiscard]] bool set_member(const std::string& key, Value& value);

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
