// What a change that is under way has done, or may have: enough to take it back.

#pragma once

#include "install/tree/digest.hpp"
#include "install/tree/file_system.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace install::tree {

// Below `.staging`, and below `.undo`, which is its name while the change is under way:
namespace journal_names {
inline constexpr const char* files = "files";       // new files, in the folders of appdata
inline constexpr const char* old = "old";           // what they replace, and what is removed
inline constexpr const char* manifest = "manifest"; // this
inline constexpr const char* restored = "restored"; // an old file on its way back
} // namespace journal_names

struct Manifest {
    struct Entry {
        enum class Kind { created, replaced, removed };
        // How a new file is recognised.
        struct Content {
            std::uint64_t size = 0;
            Digest digest{};
        };

        Kind kind = Kind::created;
        std::string name; // in appdata
        // None of a removed file, nor of those that nobody but this library writes.
        std::optional<Content> content;
        // Not part of the text:
        bool is_in_new_folder = false; // which is moved as a whole
        bool is_written = false;       // rather than another name of a file
    };

    // Returns the text of the manifest, which ends with its digest.
    [[nodiscard]] std::string text() const;
    // Reads the manifest of an interrupted change. Throws tree_error, which tells one of another
    // version from one that is damaged.
    [[nodiscard]] static Manifest read(const Directory& journal);

    std::vector<Entry> entries;       // in the order in which they are done
    std::vector<std::string> folders; // new ones, each before those in it
};

} // namespace install::tree
