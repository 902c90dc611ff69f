// A change of an install tree that is done as a whole or not at all.

#pragma once

#include "install/tree/change.hpp"
#include "install/tree/disk/directory.hpp"
#include "install/tree/disk/file_lock.hpp"
#include "install/tree/disk/spelling.hpp"
#include "install/tree/journal/manifest.hpp"
#include "install/tree/journal/progress.hpp"
#include "install/tree/tree_error.hpp"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace install::tree {

// Keeps the old files until all new ones are in their places:
//
//     Journal journal(appdata, lock, durability, progress);
//     journal.replace(name, bytes);
//     journal.remove(other_name);
//     journal.commit();
//
// New files are written to `.staging`, which is also where old files get another name. Once all of
// it is durable, `.staging` becomes `.undo`, and the new files take their places; if anything fails
// now, the change is rolled back, at once or by whoever comes after a crash. When all is durable,
// `.undo` becomes `.staging` again: that is the commit. Names are relative to appdata. The caller
// holds the lock, and has recovered. Every operation throws tree_error.
class Journal {
public:
    // Keeps references to `appdata` and `lock`.
    Journal(const Directory& appdata, FileLock& lock, const Options& options);
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // Says how many files follow, for the progress.
    void announce(std::size_t files);
    // Replaces or creates the file `name`, and returns what it holds then.
    FileRecord replace(const std::string& name, std::string_view bytes);
    // The same for a file that every product shares, and that was `seen` when it was read: commit
    // fails if another program has written it since.
    void replace_shared(const std::string& name, std::string_view bytes, const FileStatus& seen);
    // The same for a file that nobody but this library writes.
    void replace_own(const std::string& name, std::string_view bytes);
    // Makes `copy`, which nobody but this library writes, another name of the file `name` as it is
    // now.
    void keep_copy(const std::string& name, const std::string& copy);
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
        FileStatus like; // what new folders and the journal's own files are like
        Directory directory;
        bool is_kept = false;
    };

    FileStatus stage_old(const std::string& name);
    void keep(const std::string& name, const Directory& other, const std::string& other_name);
    void add_missing_folders(const std::string& name);
    [[nodiscard]] bool is_in_new_folder(const std::string& name) const;
    void stage_new(FileRecord file, std::string_view bytes);
    void write_manifest();
    template <class Visit>
    void for_each_file_to_flush(const Visit& visit) const;
    void flush();
    bool flush_one_by_one();
    void begin_moving();
    void move_into_place();
    void move_file(const Manifest::Entry& entry);
    void require(bool is_untouched, const std::string& name) const;
    void require_unchanged(const std::string& name) const;
    void require_unwritten() const;
    void flush_changed_folders() const;
    void undo_moves(const tree_error* failure);
    void finish();
    void drop() noexcept;

    const Directory& appdata_;
    FileLock& lock_;
    bool is_durable_;
    ProgressReporter progress_;
    Spelling spelling_;
    Staging staging_;
    Directory files_;
    Directory old_;
    Manifest manifest_;
    std::set<std::string> new_folders_;
    std::map<std::string, FileStatus> seen_; // shared files
    std::vector<FileRecord> shared_files_;   // as the change leaves them
};

} // namespace install::tree
