#include "install/tree/repair.hpp"

#include "foundation/json/serialize.hpp"
#include "install/tree/documents.hpp"
#include "install/tree/entries.hpp"
#include "install/tree/locked_tree.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/salvage.hpp"
#include "install/tree/shared_file.hpp"
#include "install/tree/tree_error.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using Kind = Fault::Kind;
using Steps = std::vector<RepairStep>;

std::string quoted(const std::string& text) {
    return '"' + printable(text) + '"';
}

// A shared file with what can be saved of it, and its last good version.
struct DamagedFile {
    DamagedFile(const Directory& appdata, const std::string& name)
        : path(appdata.path_of(name)),
          file(read_shared_file(appdata, name)),
          old(read_shared_file(appdata, name + old_suffix).members) {}

    [[nodiscard]] bool is_damaged() const {
        return file.fault && file.fault->kind == Kind::damaged;
    }
    [[nodiscard]] bool is_missing() const {
        return file.fault && file.fault->kind == Kind::missing;
    }

    std::string path;
    SharedFile file;
    ValueMap old;
    bool changed = false;
};

// Finds out what a repair does.
class Repair {
public:
    Repair(const Layout& layout, const Directory& appdata)
        : contents_(appdata, layout.contents_map),
          record_(appdata, layout.installed_record),
          documents_(find_documents(appdata)) {
        for (DamagedFile* const damaged : {&contents_, &record_})
            save_members(*damaged);
        note_listed();
        restore_entries_from_old();
        restore_entries_from_documents();
        restore_times();
    }

    void put_into(Transaction& transaction) const {
        for (const DamagedFile* const each : {&contents_, &record_}) {
            const std::string& name = each->file.name;
            if (each->is_damaged())
                transaction.keep(name, name + damaged_suffix);
            if (each->changed)
                transaction.put(name, foundation::json::serialize(Value(each->file.members)));
        }
    }

    [[nodiscard]] const Steps& steps() const noexcept { return steps_; }

private:
    void add_step(const DamagedFile& to, std::string text) {
        steps_.push_back({to.path, std::move(text)});
    }

    // Nothing is done about a file that cannot be read, or is something else.
    void save_members(DamagedFile& damaged) {
        if (damaged.file.fault && !damaged.is_damaged() && !damaged.is_missing())
            throw tree_error("repair", damaged.path, damaged.file.fault->text);
        if (!damaged.is_damaged())
            return;
        damaged.file.members = whole_members(damaged.file.text);
        damaged.changed = true;
        add_step(damaged, "Keep the damaged file as " + damaged.file.name + damaged_suffix +
                              ", and the " + std::to_string(damaged.file.members.size()) +
                              " whole members of it.");
    }

    void note_listed() {
        for (const auto& [key, value] : contents_.file.members)
            note_listed(key, value);
    }

    void note_listed(const std::string& key, const Value& value) {
        if (is_entry_key(key))
            prefixes_.insert(name_prefix(key));
        for (const std::string& path : paths_in(value).value_or(std::vector<std::string>())) {
            begins_with_separator_ = path.starts_with('/');
            if (const auto name = document_name(path))
                listed_.insert(*name);
        }
    }

    void restore_entry(const std::string& key, Value value, const std::string& source) {
        note_listed(key, value);
        contents_.file.members.emplace(key, std::move(value));
        contents_.changed = true;
        add_step(contents_, "Restore the entry " + quoted(key) + " from " + source + ".");
    }

    // Whether the entry was lost, and its documents were not.
    [[nodiscard]] bool is_restorable(const std::string& key, const Value& value) const {
        const auto paths = paths_in(value);
        if (contents_.file.members.contains(key) || !paths)
            return false;
        return std::all_of(paths->begin(), paths->end(), [&](const std::string& path) {
            const auto name = document_name(path);
            return name && documents_.sizes.contains(*name) && !listed_.contains(*name);
        });
    }

    // A file that is not damaged has lost no entry: what it lacks was removed.
    void restore_entries_from_old() {
        if (!contents_.file.fault)
            return;
        for (const auto& [key, value] : contents_.old)
            if (is_entry_key(key) && is_restorable(key, value))
                restore_entry(key, value, contents_.file.name + old_suffix);
    }

    void restore_entries_from_documents() {
        std::map<std::string, std::vector<std::string>> lost; // names of documents by key
        for (const auto& [name, size] : documents_.sizes)
            if (!listed_.contains(name) && !has_prefix(name, prefixes_))
                if (const auto key = key_of(name))
                    lost[*key].push_back(name);
        for (auto& [key, names] : lost) {
            const std::string first = name_prefix(key) + entry_key_tag + ".xml";
            if (const auto found = std::ranges::find(names, first); found != names.end())
                std::rotate(names.begin(), found, found + 1);
            restore_entry(key, list_of(names), "its documents");
        }
    }

    // Returns the key of the entry for a document whose tag has no space.
    static std::optional<std::string> key_of(const std::string& name) {
        const std::string directory = std::string(documents_name) + '/';
        const auto last_space = name.rfind(' ');
        if (!name.ends_with(".xml") || last_space == std::string::npos ||
            std::count(name.begin(), name.end(), ' ') < 2)
            return std::nullopt;
        return name.substr(directory.size(), last_space + 1 - directory.size()) + entry_key_tag;
    }

    [[nodiscard]] Value list_of(const std::vector<std::string>& names) const {
        ValueVector paths;
        for (const std::string& name : names)
            paths.emplace_back((begins_with_separator_ ? "/appdata/" : "appdata/") + name);
        return Value(std::move(paths));
    }

    void restore_times() {
        if (!record_.file.fault)
            return;
        for (const auto& [basecode, value] : record_.old)
            if (record_.file.members.emplace(basecode, value).second) {
                record_.changed = true;
                add_step(record_, "Restore the entry " + quoted(basecode) + " from " +
                                      record_.file.name + old_suffix + ".");
            }
    }

    DamagedFile contents_;
    DamagedFile record_;
    Documents documents_;
    std::set<std::string> listed_;   // names of documents that an entry lists
    std::set<std::string> prefixes_; // of the names of all entries' documents
    bool begins_with_separator_ = true;
    Steps steps_;
};

Steps recovery_steps(const Directory& appdata) {
    Steps steps;
    if (appdata.link_status(commit_name))
        steps.push_back({appdata.path_of(commit_name), "Finish the interrupted change."});
    if (appdata.link_status(staging_name))
        steps.push_back({appdata.path_of(staging_name), "Drop the interrupted change."});
    return steps;
}

Steps apply(const Layout& layout, const Directory& appdata) {
    const Repair repair(layout, appdata);
    if (!repair.steps().empty()) {
        Transaction transaction(appdata);
        repair.put_into(transaction);
        transaction.commit();
    }
    return repair.steps();
}

void append(Steps& steps, const Steps& more) {
    steps.insert(steps.end(), more.begin(), more.end());
}

} // namespace

std::vector<RepairStep> repair(const ustring& installRoot, RepairMode mode) {
    const Layout layout(installRoot);
    return reporting_exhausted_memory(layout.appdata, [&] {
        Directory appdata = Directory::open_existing(layout.appdata);
        Steps steps = recovery_steps(appdata);
        if (mode == RepairMode::apply) {
            const LockedTree tree(std::move(appdata), {});
            append(steps, apply(layout, tree.appdata));
        } else {
            append(steps, Repair(layout, appdata).steps());
        }
        return steps;
    });
}

} // namespace install::tree
