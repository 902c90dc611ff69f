// A JSON file that all products of an install tree share.

#pragma once

#include "foundation/json/detail/canonical_object.hpp"
#include "foundation/json/value.hpp"
#include "install/ustring.hpp"

#include <string>
#include <variant>

namespace install::product_impl::utils {

// Returns the members of the object that `text` begins with. Throws as getJsonObjFromFile does.
[[nodiscard]] foundation::json::ValueMap object_in_text(const std::string& text);

// The object that such a file holds, for changing some of its members:
//
//     JsonObjectFile file(path);
//     file.set(key, value);
//     file.write();
//
// All other members are kept. A text in canonical form, as our own writer left it, is edited
// in-place; any other goes through a round trip, which brings it into that form. Both leave the
// same bytes.
class JsonObjectFile {
public:
    // Reads the file at `path`. Throws as getJsonObjFromFile does.
    explicit JsonObjectFile(const ustring& path);

    // An object without members, for a file that does not exist yet. Touches nothing on disk.
    [[nodiscard]] static JsonObjectFile without_members(const ustring& path);

    // Replaces the value of the member `key`, or inserts it. Throws std::bad_alloc, and what the
    // writer throws.
    void set(const std::string& key, foundation::json::Value value);

    // Writes the file, as writeFile does. Throws std::bad_alloc, before the file is touched.
    void write() const;

private:
    using Text = foundation::json::detail::CanonicalObject;

    JsonObjectFile(const ustring& path, Text empty);

    ustring path_;
    std::variant<Text, foundation::json::Value> object_; // a value is an object
};

} // namespace install::product_impl::utils
