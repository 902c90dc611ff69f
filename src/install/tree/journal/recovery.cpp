#include "install/tree/journal/recovery.hpp"

#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <set>

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

} // namespace

std::vector<std::string> roll_back(const Directory& appdata, const Directory& journal,
                                   const Manifest& manifest, Durability durability) {
    const bool is_durable = durability == Durability::power_failure;
    RollBack rollback(appdata, journal, manifest);
    rollback.run();
    auto others = rollback.files_of_others();
    if (is_durable)
        rollback.flush(); // before `.undo` goes, as the change itself ends
    appdata.rename(tree_names::undo, appdata, tree_names::staging);
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
    if (remains == Remains::none)
        return std::nullopt;
    Recovery recovery;
    appdata.remove_tree(tree_names::staging);
    if (remains == Remains::to_drop)
        return recovery;
    try {
        const Directory journal = appdata.subdirectory(tree_names::undo);
        for (const std::string& name :
             roll_back(appdata, journal, Manifest::read(journal), durability))
            recovery.kept.push_back(appdata.path_of(name));
    } catch (const tree_error& error) {
        throw tree_error(error, tree_error::Outcome::interrupted,
                         "an earlier change was interrupted, and cannot be rolled back");
    }
    appdata.remove_tree(tree_names::staging);
    recovery.was_rolled_back = true;
    return recovery;
}

} // namespace install::tree
