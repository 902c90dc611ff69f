// The text of a JSON object in canonical form, and the in-place edit of one of its members.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::json::detail {

// A text is in canonical form if a round trip through the reader and our own writer would not
// change it. In such a text a member can be replaced without making values of the others. The files
// that all products share are in this form, and grow long.
//
// Only texts as plain as these files are recognised: keys and strings without escapes; values that
// are strings, lists of strings, whole numbers of at most 15 digits, or objects of such values;
// none of the two keys of typed integers.
class CanonicalText {
public:
    // Moves from `text` if it is recognised, and leaves it alone otherwise. Throws std::bad_alloc.
    [[nodiscard]] static std::optional<CanonicalText> recognise(std::string& text);

    // Replaces the value of a member, or inserts the member in the order of the keys. `member` is
    // the text of an object that has only this member. Returns false, and changes nothing, if that
    // is not in canonical form itself. Throws std::bad_alloc; nothing has changed then.
    [[nodiscard]] bool set(std::string_view member);

    [[nodiscard]] const std::string& text() const& noexcept { return text_; }
    [[nodiscard]] std::string text() && noexcept { return std::move(text_); }

private:
    [[nodiscard]] std::string_view key_at(std::size_t begin) const;
    void replace_member(std::size_t index, std::string_view member);
    void insert_member(std::size_t index, std::string_view member);
    void shift_members(std::size_t first, std::size_t distance);

    std::string text_;
    std::vector<std::size_t> members_; // where each begins, in ascending order of the keys
};

} // namespace foundation::json::detail
