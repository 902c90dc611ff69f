// A change of an install tree that is done as a whole or not at all.

#pragma once

#include "install/tree/change.hpp"
#include "install/tree/change/changed_folders.hpp"
#include "install/tree/change/manifest.hpp"
#include "install/tree/change/progress.hpp"
#include "install/tree/file_system.hpp"
#include "install/tree/lock.hpp"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace install::tree {

// Keeps the old files until all new ones are in their places:
//
//     Journal journal(appdata, lock, durability, progress);
//     journal.put(name, bytes);
//     journal.remove(other_name);
//     journal.commit();
//
// New files are written to `.staging`, which is also where old files get another name. Once all of
// it is durable, `.staging` becomes `.undo`, and the new files take their places; whatever fails
// now, or whoever comes after a crash, takes the change back. When all is durable, `.undo` becomes
// `.staging` again: that is the commit. Names are relative to appdata. The caller holds the lock,
// and has recovered. Every operation throws tree_error.
class Journal {
public:
    // Keeps references to `appdata` and `lock`.
    Journal(const Directory& appdata, FileLock& lock, Durability durability,
            ProgressReporter::Observer observer);
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // Says how many files follow.
    void expect(std::size_t files);
    // Replaces or creates the file `name`, and returns what it holds then.
    Manifest::Entry::Content put(const std::string& name, std::string_view bytes);
    // The same for a file that nobody but this library writes.
    void put_own(const std::string& name, std::string_view bytes);
    // Makes `other_name`, which nobody but this library writes, another name of the file `name` as
    // it is now.
    void keep(const std::string& name, const std::string& other_name);
    // Removes the file `name` if there is one.
    void remove(const std::string& name);

    // Does all of it, in this order.
    void commit();

    [[nodiscard]] std::vector<ChangeStep> steps() const;

private:
    // What stays of it is dropped by the next change.
    struct Staging {
        explicit Staging(const Directory& appdata_directory);
        Staging(const Staging&) = delete;
        Staging& operator=(const Staging&) = delete;
        ~Staging();
        const Directory& appdata;
        Directory directory;
        bool is_kept = false;
    };

    FileStatus keep_old(const std::string& name);
    void add_new_folder(const std::string& name);
    [[nodiscard]] bool is_in_new_folder(const std::string& name) const;
    Place staged(const std::string& name);
    void write(const std::string& name, std::string_view bytes,
               std::optional<Manifest::Entry::Content> content);
    Manifest::Entry& add(const std::string& name, const FileStatus& old,
                         std::optional<Manifest::Entry::Content> content);
    void flush();
    bool flush_one_by_one();
    void move_into_place();
    void move_folders(ChangedFolders& places);
    void move_file(const Manifest::Entry& entry, ChangedFolders& places);
    void drop() noexcept;

    const Directory& appdata_;
    FileLock& lock_;
    Durability durability_;
    ProgressReporter progress_;
    Staging staging_;
    Directory files_directory_;
    Directory old_directory_;
    Folders places_;
    Folders files_;
    Folders old_;
    Manifest manifest_;
    std::set<std::string> new_folders_;
};

} // namespace install::tree
