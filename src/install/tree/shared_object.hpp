// The object in a JSON file that all products of a tree share.

#pragma once

#include "foundation/json/value.hpp"
#include "install/tree/file_system.hpp"
#include "install/tree/transaction.hpp"

#include <string>

namespace install::tree {

// Returns the members of the object that `text` begins with. Throws as getJsonObjFromFile does.
[[nodiscard]] foundation::json::ValueMap members_of(const std::string& text);

class SharedObject {
public:
    // Reads the file `name` in `directory`. If it does not exist, the object has no members. Throws
    // tree_error, with the message of getJsonObjFromFile if the file holds no object.
    SharedObject(const Directory& directory, const std::string& name);

    [[nodiscard]] const foundation::json::ValueMap& members() const noexcept { return members_; }
    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    // Returns whether the file exists.
    [[nodiscard]] bool exists() const noexcept { return exists_; }

    // Replaces the value of the member `key`, or inserts it.
    void set(const std::string& key, foundation::json::Value value);
    // Removes the member `key` and returns its value. Throws tree_error if there is none.
    [[nodiscard]] foundation::json::Value take(const std::string& key);

    // Returns the text of the file with the new members. Throws tree_error if it would not be read
    // as an object.
    [[nodiscard]] std::string text();

private:
    void read_back();

    std::string name_;
    std::string path_;
    foundation::json::ValueMap members_;
    bool exists_ = false;
    bool reads_back_changed_ = false;
};

// Makes `object` the content of its file, and keeps the last one as NAME.old.
void put_shared_file(Transaction& transaction, SharedObject& object);

} // namespace install::tree
