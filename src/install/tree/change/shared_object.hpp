// The object in a JSON file that all products of a tree share, during a change.

#pragma once

#include "foundation/json/detail/editable_object.hpp"
#include "foundation/json/value.hpp"
#include "install/tree/change/transaction.hpp"
#include "install/tree/file_system.hpp"

#include <string>
#include <string_view>

namespace install::tree {

class SharedObject {
public:
    // Reads the file `name` in `directory`. If it does not exist, the object has no members. Throws
    // tree_error, with the message of getJsonObjFromFile if the file holds no object.
    SharedObject(const Directory& directory, std::string_view name);

    // Returns the members. The reference is valid until the object is changed or destroyed.
    [[nodiscard]] const foundation::json::ValueMap& members() { return object_.members(); }

    // Replaces the value of the member `key`, or inserts it. Throws tree_error if the file could
    // not be read as an object then.
    void set(const std::string& key, foundation::json::Value value);
    // Removes the member `key` and returns its value. Throws tree_error if there is none.
    [[nodiscard]] foundation::json::Value take(const std::string& key);

    // Makes the object the content of its file, and keeps the last content as NAME.old. Leaves the
    // object without members. Throws tree_error.
    void put_into(Transaction& transaction);

private:
    void read(std::string text);

    std::string name_;
    std::string path_;
    foundation::json::detail::EditableObject object_;
    bool exists_ = false;
};

} // namespace install::tree
