#include "install/tree/journal/recovery.hpp"

#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <chrono>
#include <set>
#include <thread>
#include <utility>

namespace install::tree {

namespace {

using StepKind = ChangeStep::Kind;
using Entry = Manifest::Entry;

// Returns what `compare` returns; nothing if a file may not be opened.
template <class Compare>
std::optional<bool> compared(const Compare& compare) {
    try {
        return compare();
    } catch (const tree_error& error) {
        if (error.code() != std::errc::permission_denied)
            throw;
        return std::nullopt;
    }
}

// Tells the files of a change from the old ones and from those that other programs wrote since. Old
// files are linked to their places rather than moved, as a rename between two folders may become
// durable in only one of them.
class RollBack {
public:
    RollBack(const Directory& appdata, const Directory& journal, const Manifest& manifest)
        : appdata_(appdata),
          journal_(journal),
          manifest_(manifest),
          old_(journal.subdirectory(journal_names::old)) {
        others_wrote_ = has_other_record();
        for (const Entry& entry : manifest.entries)
            if (entry.file.name == tree_names::contents_map)
                others_wrote_ = others_wrote_ || owner_of(entry) == Owner::others;
    }

    // For programs that read meanwhile, entries come after their documents, and go before them.
    void run() {
        restore_all([](bool is_document, bool is_new) { return is_document && !is_new; });
        restore_all([](bool is_document, bool /*is_new*/) { return !is_document; });
        restore_all([](bool is_document, bool is_new) { return is_document && is_new; });
        const auto& folders = manifest_.folders;
        for (const std::string& folder : std::vector(folders.rbegin(), folders.rend())) {
            if (!appdata_.status_or_nothing(folder).is_there())
                continue;
            appdata_.remove_empty_folder(folder); // it stays if somebody has put something there
            changed_.insert(parent_of(folder));
        }
    }

    void flush() const {
        for (const std::string& folder : changed_)
            if (folder.empty() || appdata_.status_or_nothing(folder).is_there())
                appdata_.flush_folder(folder);
    }

    [[nodiscard]] std::vector<std::string> files_of_others() const {
        std::vector<std::string> names;
        for (const Entry& entry : manifest_.entries)
            if (owner_of(entry) == Owner::others)
                names.push_back(entry.file.name);
        return names;
    }

private:
    enum class Owner { nobody, old_tree, change, others };

    // Returns whose the file is that is at the place of an entry.
    [[nodiscard]] Owner owner_of(const Entry& entry) const {
        const std::string& name = entry.file.name;
        const FileStatus found = appdata_.status_or_nothing(name);
        if (!found.is_there())
            return Owner::nobody;
        const bool has_old = entry.kind != StepKind::create;
        const FileStatus old = has_old ? old_.status(name) : FileStatus();
        if (has_old && found.is_same_file(old)) // in which another program may have written
            return name == tree_names::installed_record && has_other_record() ? Owner::others
                                                                              : Owner::old_tree;
        if (is_of_change(entry, found)) { // or the old one, if that has the same bytes
            const auto is_equal = compared([&] { return old_.matches(name, entry.file); });
            return has_old && is_equal.value_or(false) ? Owner::old_tree : Owner::change;
        }
        return has_old && is_copy(name, old, found) ? Owner::old_tree : Owner::others;
    }

    // Every program that writes a product leaves a time in the installed record.
    [[nodiscard]] bool has_other_record() const {
        const std::string name = tree_names::installed_record;
        const auto is_other = [&](const FileRecord& file) {
            return !compared([&] { return appdata_.matches(name, file); }).value_or(true);
        };
        return appdata_.has(name) && (!manifest_.old_record || is_other(*manifest_.old_record)) &&
               std::ranges::all_of(manifest_.entries, [&](const Entry& entry) {
                   return entry.file.name != name || is_other(entry.file);
               });
    }

    // Another program that repeats what the change did writes the very same bytes: where one has
    // been there, a file is the change's only if it is no later than the change itself.
    [[nodiscard]] bool is_of_change(const Entry& entry, const FileStatus& found) const {
        if (entry.kind == StepKind::remove || !entry.file.digest)
            return entry.kind != StepKind::remove; // nobody but this library writes it
        const bool is_later = found.modified > manifest_.staged_at;
        if (others_wrote_ && is_later)
            return false;
        return compared([&] { return appdata_.matches(entry.file.name, entry.file); })
            .value_or(found.size == entry.file.size && !is_later);
    }

    [[nodiscard]] bool is_copy(const std::string& name, const FileStatus& old,
                               const FileStatus& found) const {
        if (old.type != FileStatus::Type::regular || old.size != found.size)
            return false;
        const auto is_equal = compared([&] {
            const auto bytes = old_.read(name);
            return bytes && appdata_.matches(name, FileRecord::of(name, *bytes));
        });
        return is_equal.value_or(found.modified == old.modified);
    }

    template <class Choose>
    void restore_all(const Choose& choose) {
        for (const Entry& entry : manifest_.entries)
            if (choose(entry.file.name.find('/') != std::string::npos,
                       entry.kind == StepKind::create))
                restore(entry);
    }

    void restore(const Entry& entry) {
        const Owner owner = owner_of(entry);
        const bool is_new = entry.kind == StepKind::create;
        if (owner == Owner::change && is_new)
            appdata_.remove(entry.file.name);
        else if (owner == Owner::change || (owner == Owner::nobody && !is_new))
            put_back(entry.file.name);
        else
            return;
        changed_.insert(parent_of(entry.file.name));
    }

    void put_back(const std::string& name) {
        journal_.remove(journal_names::restored); // which kept the room for it
        old_.link_or_copy(name, journal_, journal_names::restored, nullptr);
        appdata_.make_folders(parent_of(name));
        journal_.rename(journal_names::restored, appdata_, name);
    }

    const Directory& appdata_;
    const Directory& journal_;
    const Manifest& manifest_;
    Directory old_;
    bool others_wrote_ = false;
    std::set<std::string> changed_; // folders
};

// Removes `.undo`, whose manifest goes last: until then it says that nothing is to be rolled back.
void remove_undo(const Directory& appdata, const Directory& journal) {
    for (const Directory::Entry& child : journal.entries())
        if (child.name != journal_names::manifest)
            journal.remove_tree(child.name);
    appdata.remove_tree(tree_names::undo);
}

// The change is rolled back. A folder that came with a layer of a layered file system cannot be
// renamed.
void leave_undo(const Directory& appdata, const Directory& journal) {
    try {
        appdata.rename(tree_names::undo, appdata, tree_names::staging);
    } catch (const tree_error&) {
        const FileStatus like = appdata.status(".");
        journal.remove(journal_names::restored);
        journal.write_new(journal_names::restored, Manifest().text(), &like, true);
        static_cast<void>(journal.flush_file(journal_names::restored));
        journal.rename(journal_names::restored, journal, journal_names::manifest);
        journal.flush_folder("");
        remove_undo(appdata, journal);
    }
}

// What cannot be removed goes out of the way, as some file systems leave a folder after a crash.
void drop_staging(const Directory& appdata) {
    for (const std::string& name : find_set_aside(appdata))
        try {
            appdata.remove_tree(name);
        } catch (const tree_error&) { // the next change tries again
        }
    if (!appdata.has(tree_names::staging))
        return;
    try {
        appdata.remove_tree(tree_names::staging);
    } catch (const tree_error&) {
        std::string aside;
        for (int number = 1; aside.empty() || appdata.has(aside); ++number)
            aside = std::string(tree_names::set_aside) + std::to_string(number);
        appdata.rename(tree_names::staging, appdata, aside);
    }
}

Mount mount_for_changes(const Directory& appdata, const Options& options) {
    if (options.only_mount)
        return {};
    Mount mount = Mount::of(appdata);
    if (!mount.danger.empty())
        throw tree_error("change", appdata.path_of(""),
                         mount.danger + " If no other mount changes the tree, say so: "
                                        "--only-mount, Options::only_mount.");
    return mount;
}

// Waits until this host has forgotten what it knew before another one's change.
void wait_for_caches(const Options& options) {
    using namespace std::chrono_literals;
    using Seconds = std::chrono::duration<double>; // of which no limit is too large
    const auto begin = std::chrono::steady_clock::now();
    for (;;) {
        const Seconds left =
            Seconds(options.cache_timeout) - (std::chrono::steady_clock::now() - begin);
        if (left <= 0s)
            return;
        if (options.on_wait)
            options.on_wait(a_process_elsewhere);
        std::this_thread::sleep_for(std::min(left, Seconds(100ms)));
    }
}

// Sees what another host did, and rolls back what it could not complete.
std::optional<Recovery> recover_for_change(const Directory& appdata, FileLock& lock,
                                           const Options& options) {
    const auto& text = lock.from_elsewhere();
    if (text && !text->is_older_than(options.cache_timeout))
        wait_for_caches(options);
    auto recovery = recover(appdata, options.durability);
    const bool was_rolled_back = recovery && recovery->was_rolled_back;
    const bool is_as_left = text ? is_as_left_by(*text, appdata) : true;
    if (!is_as_left && !was_rolled_back && text->state != LockText::State::changing)
        require_written_since(*text, appdata); // or the caches hold more for longer
    if (was_rolled_back || !is_as_left)
        lock.forget_change();
    else if (text)
        lock.see_change();
    return recovery;
}

} // namespace

std::vector<std::string> find_set_aside(const Directory& appdata) {
    std::vector<std::string> names;
    for (const Directory::Entry& entry : appdata.entries())
        if (entry.name.starts_with(tree_names::set_aside) &&
            entry.name.find_first_not_of("0123456789", tree_names::set_aside.size()) ==
                std::string::npos)
            names.push_back(entry.name);
    return names;
}

LockedTree::LockedTree(Directory directory, const Options& options)
    : appdata(std::move(directory)),
      mount(mount_for_changes(appdata, options)),
      lock(appdata, {options.on_wait, options.wait_at_most}, mount),
      recovery(recover_for_change(appdata, lock, options)) {}

std::vector<std::string> roll_back(const Directory& appdata, const Directory& journal,
                                   const Manifest& manifest, Durability durability) {
    const bool is_durable = durability == Durability::power_failure;
    RollBack rollback(appdata, journal, manifest);
    rollback.run();
    auto others = rollback.files_of_others();
    if (is_durable)
        rollback.flush(); // before `.undo` goes, as the change itself ends
    leave_undo(appdata, journal);
    if (is_durable)
        appdata.flush_folder("");
    return others;
}

std::vector<std::string> files_of_others(const Directory& appdata, const Directory& journal,
                                         const Manifest& manifest) {
    return RollBack(appdata, journal, manifest).files_of_others();
}

Remains find_remains(const Directory& appdata) {
    if (appdata.has(tree_names::undo))
        return Remains::to_roll_back;
    return appdata.has(tree_names::staging) ? Remains::to_drop : Remains::none;
}

std::optional<Recovery> recover(const Directory& appdata, Durability durability) {
    const Remains remains = find_remains(appdata);
    drop_staging(appdata);
    if (remains == Remains::none)
        return std::nullopt;
    Recovery recovery;
    if (remains == Remains::to_drop)
        return recovery;
    try {
        const Directory journal = appdata.subdirectory(tree_names::undo);
        const Manifest manifest = Manifest::read(journal);
        if (manifest.is_empty())
            remove_undo(appdata, journal);
        else
            for (const std::string& name : roll_back(appdata, journal, manifest, durability))
                recovery.kept.push_back(appdata.path_of(name));
    } catch (const tree_error& error) {
        throw tree_error(error, tree_error::Outcome::interrupted,
                         "an earlier change was interrupted, and cannot be rolled back");
    }
    drop_staging(appdata);
    recovery.was_rolled_back = true;
    return recovery;
}

} // namespace install::tree
