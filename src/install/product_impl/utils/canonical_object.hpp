#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace install::product_impl::utils {

/// A JSON object whose text would not change by being read and written again, such as our own
/// writer leaves it. In such a text one member can be replaced in place: the files that all
/// products share are rewritten for every product, and would otherwise become a tree of values each
/// time, only to be written as they were.
///
/// Not every such text is recognised, only the plain ones that these files hold: strings without
/// escapes, lists of such strings, and whole numbers. All others take the way through the values.
class CanonicalObject {
public:
    /// Gives the places of the members of `text`; nothing if it is not recognised.
    [[nodiscard]] static std::optional<CanonicalObject> recognise(const std::string& text);

    /// Gives the member `key` the JSON text `value`, or inserts it where it belongs. `text` must be
    /// the one that was recognised, and is another one afterwards. Raises std::bad_alloc, and
    /// leaves `text` alone then.
    void set_member(std::string& text, const std::string& key, const std::string& value) const;

private:
    std::vector<std::size_t> members_; // where each begins, in ascending order of the keys
};

} // namespace install::product_impl::utils
