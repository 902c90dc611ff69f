// What a change that is under way has done, or may have: enough to roll it back.

#pragma once

#include "install/tree/change.hpp"
#include "install/tree/disk/directory.hpp"

#include <cstdint>
#include <optional>
#include <string>
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
        ChangeStep::Kind kind = ChangeStep::Kind::create;
        // Of the new file. There is no digest of a removed one, nor of those that nobody but this
        // library writes.
        FileRecord file;
        // Not part of the text: whether it is another name of a file that is kept anyway.
        bool is_other_name = false;
    };

    // Returns the manifest as the text of a JSON object.
    [[nodiscard]] std::string text() const;
    // Reads the manifest of an interrupted change; that of an empty journal is empty. Throws
    // tree_error, which tells one of another version, a damaged one and a missing one apart.
    [[nodiscard]] static Manifest read(const Directory& journal);

    // Whether there is nothing to roll back: that was done, but the journal could not be renamed.
    [[nodiscard]] bool is_empty() const { return entries.empty() && folders.empty(); }

    std::vector<Entry> entries;           // in the order in which they are done
    std::vector<std::string> folders;     // new ones, each before those in it
    std::optional<FileRecord> old_record; // the installed record before the change
    std::int64_t staged_at = 0;           // when the manifest was written, after all new files
};

} // namespace install::tree
