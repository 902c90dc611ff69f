// The folders of a tree in which a change moves files, or a recovery moves them back.

#pragma once

#include "install/tree/change.hpp"
#include "install/tree/file_system.hpp"

namespace install::tree {

// Makes each folder durable when it is left, if anything changed in it. Neither throws nor takes
// memory.
class ChangedFolders {
public:
    ChangedFolders(const Directory& appdata, Durability durability) noexcept
        : folders_(appdata.folders()),
          durability_(durability) {}

    // As Folders::find.
    [[nodiscard]] std::error_code find(std::string_view name, Folders::Missing missing,
                                       Place& place) noexcept {
        if (!folders_.is_open(name))
            if (const auto code = leave())
                return code;
        return folders_.find(name, missing, place);
    }
    // What was found last is changed.
    void change() noexcept { is_changed_ = true; }
    // Leaves the last folder, too.
    [[nodiscard]] std::error_code leave() noexcept {
        const bool is_to_be_flushed = is_changed_ && durability_ == Durability::power_failure;
        is_changed_ = false;
        return is_to_be_flushed ? flush_descriptor(folders_.number()) : std::error_code();
    }

private:
    Folders folders_;
    Durability durability_;
    bool is_changed_ = false;
};

} // namespace install::tree
