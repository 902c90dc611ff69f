// The object in a JSON file that all products of a tree share.

#pragma once

#include "foundation/json/detail/canonical_object.hpp"
#include "foundation/json/value.hpp"
#include "install/tree/file_system.hpp"
#include "install/tree/transaction.hpp"

#include <string>
#include <variant>

namespace install::tree {

// Returns the members of the object that `text` begins with. Throws as getJsonObjFromFile does.
[[nodiscard]] foundation::json::ValueMap members_of(const std::string& text);

// A text in canonical form is edited in-place as long as there are few changes, of which each costs
// time in proportion to the text. For many changes the text becomes a map once, and a text again.
// Both leave the same bytes.
class SharedObject {
public:
    // Reads the file `name` in `directory`. If it does not exist, the object has no members. Throws
    // tree_error, with the message of getJsonObjFromFile if the file holds no object.
    SharedObject(const Directory& directory, const std::string& name);

    // Returns the members. The reference is valid until the object is changed or destroyed.
    [[nodiscard]] const foundation::json::ValueMap& members() { return map(); }

    // Replaces the value of the member `key`, or inserts it.
    void set(const std::string& key, foundation::json::Value value);
    // Removes the member `key` and returns its value. Throws tree_error if there is none.
    [[nodiscard]] foundation::json::Value take(const std::string& key);

    // Makes the object the content of its file, and keeps the last content as NAME.old. Throws
    // tree_error, also if the new content would not be read as an object.
    void put_into(Transaction& transaction) const;

private:
    using Text = foundation::json::detail::CanonicalObject;

    foundation::json::ValueMap& map();

    std::string name_;
    std::string path_;
    std::variant<Text, foundation::json::Value> object_; // a value is an object
    bool exists_ = false;
    bool reads_back_changed_ = false;
    int edits_ = 0; // of a text
};

} // namespace install::tree
