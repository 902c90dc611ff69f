#include "install/tree/journal/recovery.hpp"

#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <set>

namespace install::tree {

namespace {

using Kind = ChangeStep::Kind;
using Entry = Manifest::Entry;

// Tells the files of a change from the old ones and from those that other programs wrote since.
class Ownership {
public:
    Ownership(const Directory& appdata, const Directory& old, const Directory& journal,
              const Manifest& manifest)
        : appdata_(appdata),
          old_(old),
          staged_at_(journal.status(journal_names::manifest).modified) {
        for (const Entry& entry : manifest.entries)
            if (entry.file.name == tree_names::contents_map ||
                entry.file.name == tree_names::installed_record)
                others_wrote_ = others_wrote_ || owner_of(entry) == Owner::others;
    }

    enum class Owner { nobody, old_tree, change, others };

    // Returns whose the file is that is at the place of an entry.
    [[nodiscard]] Owner owner_of(const Entry& entry) const {
        const FileStatus found = appdata_.status_or_nothing(entry.file.name);
        if (!found.is_there())
            return Owner::nobody;
        const bool has_old = entry.kind != Kind::create;
        const FileStatus old = has_old ? old_.status(entry.file.name) : FileStatus();
        if (has_old && found.is_same_file(old))
            return Owner::old_tree;
        if (is_of_change(entry, found)) // or the old one, if that has the same bytes
            return has_old && compared([&] {
                                  return old_.matches(entry.file.name, entry.file);
                              }).value_or(false)
                       ? Owner::old_tree
                       : Owner::change;
        return has_old && is_equal(entry.file.name, old, found) ? Owner::old_tree : Owner::others;
    }

private:
    // Another program that repeats what the change did writes the very same bytes: where one has
    // been there, a file is the change's only if it is no later than the change itself.
    [[nodiscard]] bool is_of_change(const Entry& entry, const FileStatus& found) const {
        if (entry.kind == Kind::remove)
            return false;
        if (!entry.file.digest) // nobody but this library writes it
            return true;
        const bool is_later = found.modified > staged_at_;
        if (others_wrote_ && is_later)
            return false;
        return compared([&] { return appdata_.matches(entry.file.name, entry.file); })
            .value_or(found.size == entry.file.size && !is_later);
    }

    // Whether the file is a copy of the old one.
    [[nodiscard]] bool is_equal(const std::string& name, const FileStatus& old,
                                const FileStatus& found) const {
        if (old.type != FileStatus::Type::regular || old.size != found.size)
            return false;
        return compared([&] {
                   const auto bytes = old_.read(name);
                   return bytes && appdata_.matches(name, FileRecord::of(name, *bytes));
               })
            .value_or(found.modified == old.modified);
    }

    // Returns what `compare` returns; nothing if a file may not be opened.
    template <class Compare>
    static std::optional<bool> compared(const Compare& compare) {
        try {
            return compare();
        } catch (const tree_error& error) {
            if (error.code() != std::errc::permission_denied)
                throw;
            return std::nullopt;
        }
    }

    const Directory& appdata_;
    const Directory& old_;
    std::int64_t staged_at_;
    bool others_wrote_ = false;
};

using Owner = Ownership::Owner;

// One roll back. Old files are linked to their places rather than moved, as a rename between two
// folders may become durable in only one of them.
class RollBack {
public:
    RollBack(const Directory& appdata, const Directory& journal, const Manifest& manifest)
        : appdata_(appdata),
          journal_(journal),
          manifest_(manifest),
          old_(journal.subdirectory(journal_names::old)),
          ownership_(appdata, old_, journal, manifest) {}

    // Returns the names of files of others. For programs that read meanwhile, entries come after
    // their documents, and go before them.
    std::vector<std::string> run() {
        for (const Entry& entry : manifest_.entries)
            if (entry.kind != Kind::create && is_document(entry))
                restore(entry);
        for (const Entry& entry : manifest_.entries)
            if (!is_document(entry))
                restore(entry);
        for (const Entry& entry : manifest_.entries)
            if (entry.kind == Kind::create && is_document(entry))
                restore(entry);
        const auto& folders = manifest_.folders;
        for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder) {
            if (!appdata_.status_or_nothing(*folder).is_there())
                continue;
            appdata_.remove_empty_folder(*folder); // it stays if somebody has put something there
            changed_.insert(parent_of(*folder));
        }
        return std::move(others_);
    }

    void flush() const {
        for (const std::string& folder : changed_)
            if (folder.empty() || appdata_.status_or_nothing(folder).is_there())
                appdata_.flush_folder(folder);
    }

private:
    static bool is_document(const Entry& entry) {
        return entry.file.name.find('/') != std::string::npos;
    }

    void restore(const Entry& entry) {
        const std::string& name = entry.file.name;
        const Owner owner = ownership_.owner_of(entry);
        if (owner == Owner::others)
            others_.push_back(name);
        const bool is_new = entry.kind == Kind::create;
        if (owner == Owner::others || owner == Owner::old_tree ||
            (is_new && owner == Owner::nobody))
            return;
        is_new ? appdata_.remove(name) : put_back(name);
        changed_.insert(parent_of(name));
    }

    void put_back(const std::string& name) {
        journal_.remove(journal_names::restored); // which kept the room for it
        old_.link_or_copy(name, journal_, journal_names::restored);
        appdata_.make_folders(parent_of(name));
        journal_.rename(journal_names::restored, appdata_, name);
    }

    const Directory& appdata_;
    const Directory& journal_;
    const Manifest& manifest_;
    Directory old_;
    Ownership ownership_;
    std::vector<std::string> others_;
    std::set<std::string> changed_; // folders
};

} // namespace

std::vector<std::string> roll_back(const Directory& appdata, const Directory& journal,
                                   const Manifest& manifest, Durability durability) {
    RollBack rollback(appdata, journal, manifest);
    auto others = rollback.run();
    if (durability == Durability::power_failure)
        rollback.flush(); // before `.undo` goes, as the change itself ends
    appdata.rename(tree_names::undo, appdata, tree_names::staging);
    if (durability == Durability::power_failure)
        appdata.flush_folder("");
    return others;
}

std::vector<std::string> files_of_others(const Directory& appdata, const Directory& journal,
                                         const Manifest& manifest) {
    const Directory old = journal.subdirectory(journal_names::old);
    const Ownership ownership(appdata, old, journal, manifest);
    std::vector<std::string> names;
    for (const Entry& entry : manifest.entries)
        if (ownership.owner_of(entry) == Owner::others)
            names.push_back(entry.file.name);
    return names;
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
