// Takes a change back that is under way, or was interrupted.

#pragma once

#include "install/tree/change/changed_folders.hpp"
#include "install/tree/change/manifest.hpp"
#include "install/tree/file_system.hpp"

#include <array>
#include <string>
#include <system_error>

namespace install::tree {

// Puts every old file back, and removes every new one. It can be repeated, and interrupted at any
// point. A file that is neither the old nor the new one was written by somebody else since, and
// stays. Old files are linked to their places rather than moved, as a rename between two folders
// may become durable in only one of them.
class Rollback {
public:
    // Reserves what run needs. Keeps references to all of them; `journal` is the directory `.undo`,
    // or will be.
    Rollback(const Directory& appdata, const Directory& journal, const Manifest& manifest,
             Durability durability);

    struct Result {
        std::error_code code;              // 0: the tree is as it was, and `.undo` is `.staging`
        const std::string* name = nullptr; // of the file that failed; null: of no single one
    };
    // Takes no memory, no room on the disk where it has links, and no more descriptors than there
    // were.
    [[nodiscard]] Result run() noexcept;

private:
    std::error_code take_back(const Manifest::Entry& entry) noexcept;
    std::error_code restore(const Manifest::Entry& entry, const Place& place,
                            const FileStatus& found) noexcept;
    std::error_code remove_folder(const std::string& name) noexcept;
    std::error_code finish() noexcept;

    const Directory& appdata_;
    const Directory& journal_;
    const Manifest& manifest_;
    Directory old_;
    Folders old_places_;
    ChangedFolders places_;
    Durability durability_;
    std::array<Descriptor, 3> reserved_; // as many as are open at once, besides those above
};

} // namespace install::tree
