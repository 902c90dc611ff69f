// A JSON file that all products share, in whatever state it is: read once, parsed when its members
// are asked for, edited, and put into a journal.

#pragma once

#include "foundation/json/detail/editable_object.hpp"
#include "foundation/json/value.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/journal/journal.hpp"
#include "install/tree/journal/view.hpp"
#include "install/tree/tree_error.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace install::tree {

class SharedFile {
public:
    using State = product_impl::utils::JsonFileDiagnosis::State;

    // Reads the file `name` in appdata. Throws std::bad_alloc only.
    SharedFile(const View& view, const std::string& name);

    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    // The permissions of the file; none if there is no file.
    [[nodiscard]] std::uint32_t permissions() const noexcept { return seen_.permissions; }

    [[nodiscard]] bool is(State state) const noexcept { return diagnosis_.state == state; }
    // Whether there is a text, and it is not that of an object.
    [[nodiscard]] bool is_damaged() const noexcept {
        return is(State::damaged) || is(State::no_object);
    }
    // Whether something that is no regular file is in its place.
    [[nodiscard]] bool is_not_regular() const noexcept {
        return seen_.is_there() && seen_.type != FileStatus::Type::regular;
    }
    // Returns why the file holds no object; nothing if it holds one.
    [[nodiscard]] std::optional<Fault> fault() const;
    // Throws tree_error unless the file could be read, or does not exist.
    void require_readable() const;
    // Throws tree_error unless it holds an object, or does not exist.
    void require_object() const;
    // The number of trailing bytes, if not all of them are whitespace; of repeated keys.
    [[nodiscard]] std::size_t trailing_bytes() const noexcept { return trailing_bytes_; }
    [[nodiscard]] std::size_t repeated_keys() const noexcept { return diagnosis_.repeated_keys; }

    // The members of the object; of a damaged one, those that are whole before the damage. A byte
    // order mark and whitespace before it are skipped. The reference is valid until the next edit.
    [[nodiscard]] const foundation::json::ValueMap& members() const { return object_.members(); }
    // Returns the value of a member; null if there is none.
    [[nodiscard]] const foundation::json::Value* find(const std::string& key) const {
        const auto found = members().find(key);
        return found == members().end() ? nullptr : &found->second;
    }

    // Replaces the value of the member `key`, or inserts it. Throws tree_error if the file could
    // not be read as an object then.
    void set(const std::string& key, foundation::json::Value value);
    // Removes the member `key` and returns its value; nothing if there is none.
    [[nodiscard]] std::optional<foundation::json::Value> take(const std::string& key);
    // Lets the file count as edited: what is whole of a damaged one, or what is edited later.
    void rewrite() noexcept { is_edited_ = true; }
    [[nodiscard]] bool is_edited() const noexcept { return is_edited_; }
    // Exchanges all members with another file. Neither is kept as it was, as nothing is lost.
    void swap_members(SharedFile& other) noexcept;
    // Throws tree_error if what was edited could not be read back once it is written. Otherwise the
    // file is an object now.
    void require_round_trip();

    // The name under which an edit keeps the file as it was: NAME.old, or of a damaged one the
    // first of NAME.damaged, NAME.damaged.1, ... that is free. Empty if there is no file.
    [[nodiscard]] const std::string& kept_name() const noexcept { return kept_name_; }
    // Puts the new text into a journal, and leaves no members; puts the old file under its other
    // name. Throws tree_error.
    void put_text(Journal& journal);
    void keep_old(Journal& journal) const;

private:
    void read(const View& view);
    void parse();

    std::string name_;
    std::string path_;
    FileStatus seen_;  // before it was read
    std::string text_; // of what is no object
    product_impl::utils::JsonFileDiagnosis diagnosis_;
    std::size_t trailing_bytes_ = 0;
    std::optional<tree_error> failure_; // why something that is there could not be read
    mutable foundation::json::detail::EditableObject object_;
    bool is_edited_ = false;
    std::string kept_name_;
};

} // namespace install::tree
