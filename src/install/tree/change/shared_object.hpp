// The object in a JSON file that all products of a tree share, during a change.

#pragma once

#include "foundation/json/detail/editable_object.hpp"
#include "foundation/json/value.hpp"
#include "install/tree/change/journal.hpp"
#include "install/tree/file_system.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace install::tree {

class SharedObject {
public:
    // Reads the file `name` in `directory`. If it does not exist, the object has no members. Throws
    // tree_error, with the message of getJsonObjFromFile if the file holds no object.
    SharedObject(const Directory& directory, std::string_view name);
    // The file `name` is damaged, and `members` is what is left of it.
    SharedObject(const Directory& directory, std::string_view name,
                 foundation::json::ValueMap members);

    // Returns the members. The reference is valid until the object is changed or destroyed.
    [[nodiscard]] const foundation::json::ValueMap& members() { return object_.members(); }

    // Replaces the value of the member `key`, or inserts it. Throws tree_error if the file could
    // not be read as an object then.
    void set(const std::string& key, foundation::json::Value value);
    // Removes the member `key` and returns its value. Throws tree_error if there is none.
    [[nodiscard]] foundation::json::Value take(const std::string& key);
    // The same; returns nothing if there is none.
    [[nodiscard]] std::optional<foundation::json::Value> find_and_take(const std::string& key) {
        return object_.take(key);
    }

    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    // Returns the text of the object, and leaves it without members.
    [[nodiscard]] std::string text() { return std::move(object_).text(); }
    // Makes what the file held until now NAME.old; of a damaged one NAME.damaged. Throws
    // tree_error.
    void keep_old(Journal& journal) const;

private:
    void read(std::string text);

    std::string name_;
    std::string path_;
    foundation::json::detail::EditableObject object_;
    std::string old_name_; // empty where there is no file
};

} // namespace install::tree
