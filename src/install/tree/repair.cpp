#include "install/tree/repair.hpp"

#include "foundation/json/serialize.hpp"
#include "install/tree/change/locked_tree.hpp"
#include "install/tree/found/entries.hpp"
#include "install/tree/found/found_tree.hpp"
#include "install/tree/in_quotes.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using Steps = std::vector<RepairStep>;

std::string old_name(const SharedFile& file) {
    return file.name + std::string(tree_names::old_suffix);
}

// Returns the key of the entry for a document whose tag has no space.
std::optional<std::string> key_of(const std::string& name) {
    const std::string directory = tree_names::join(tree_names::documents, "");
    const auto last_space = name.rfind(' ');
    if (!name.ends_with(tree_names::document_suffix) || last_space == std::string::npos ||
        std::count(name.begin(), name.end(), ' ') < 2)
        return std::nullopt;
    return name.substr(directory.size(), last_space + 1 - directory.size())
        .append(tree_names::entry_tag);
}

// Finds out what a repair of a tree does.
class Repair {
public:
    // Throws tree_error if a shared file cannot be read, or is something else.
    explicit Repair(FoundTree& tree) : tree_(tree) {
        for (const SharedFile* const file : {&tree.shared.contents, &tree.shared.record})
            file->require_readable();
    }

    Steps find_steps() {
        keep_damaged(contents_);
        keep_damaged(record_);
        restore_entries_from_old();
        restore_entries_from_documents();
        restore_times();
        return steps_;
    }

    void put_into(Transaction& transaction) const {
        for (const RepairedFile* const each : {&contents_, &record_}) {
            const std::string& name = each->file.name;
            if (each->file.is_damaged())
                transaction.keep(name, name + std::string(tree_names::damaged_suffix));
            if (each->changed)
                transaction.put(name, foundation::json::serialize(Value(each->file.members)));
        }
    }

private:
    struct RepairedFile {
        SharedFile& file; // its members are those after the repair
        bool changed = false;
    };

    void add_step(RepairedFile& to, std::string text) {
        to.changed = true;
        steps_.push_back({to.file.path, std::move(text)});
    }

    void keep_damaged(RepairedFile& damaged) {
        const SharedFile& file = damaged.file;
        if (!file.is_damaged())
            return;
        const std::size_t count = file.members.size();
        add_step(damaged, "Keep the damaged file as " + file.name +
                              std::string(tree_names::damaged_suffix) + ", and " +
                              std::to_string(count) + " whole member" + (count == 1 ? "" : "s") +
                              " of it.");
    }

    // Returns the members of the last good version of a file; none if the file is an object itself,
    // as what that lacks was removed.
    [[nodiscard]] ValueMap old_members(const SharedFile& file) const {
        if (file.is(SharedFile::State::object))
            return {};
        SharedFile old(tree_.appdata, old_name(file));
        return old.is(SharedFile::State::object) ? std::move(old.members) : ValueMap();
    }

    void restore_entry(const std::string& key, Value value, const std::string& source) {
        tree_.add_listed(key, value);
        contents_.file.members.emplace(key, std::move(value));
        add_step(contents_, "Restore the entry " + in_quotes(key) + " from " + source + ".");
    }

    // Whether the entry was lost, and its documents were not.
    [[nodiscard]] bool is_restorable(const std::string& key, const Value& value) const {
        const auto paths = paths_in(value);
        if (!is_entry_key(key) || contents_.file.members.contains(key) || !paths)
            return false;
        return std::all_of(paths->begin(), paths->end(), [&](const std::string& path) {
            const auto name = document_name(path);
            return name && tree_.documents.sizes.contains(*name) && !tree_.is_listed(*name);
        });
    }

    void restore_entries_from_old() {
        for (const auto& [key, value] : old_members(contents_.file))
            if (is_restorable(key, value))
                restore_entry(key, value, old_name(contents_.file));
    }

    void restore_entries_from_documents() {
        std::map<std::string, std::vector<std::string>> lost; // names of documents by key
        for (const auto& [name, size] : tree_.documents.sizes)
            if (!tree_.is_listed(name) && !tree_.belongs_to_entry(name))
                if (const auto key = key_of(name))
                    lost[*key].push_back(name);
        const std::string directory = directory_in_lists();
        for (auto& [key, names] : lost) {
            std::string first = name_prefix(key);
            first.append(tree_names::entry_tag).append(tree_names::document_suffix);
            if (const auto found = std::ranges::find(names, first); found != names.end())
                std::rotate(names.begin(), found, found + 1);
            ValueVector paths;
            for (const std::string& name : names)
                paths.emplace_back(directory + name);
            restore_entry(key, Value(std::move(paths)), "its documents");
        }
    }

    // Returns what paths in appdata begin with in the lists of the other entries.
    [[nodiscard]] std::string directory_in_lists() const {
        const std::string directory = tree_names::join(tree_names::appdata, "");
        bool begins_with_separator = true;
        for (const auto& [key, value] : contents_.file.members)
            for (const std::string& path : paths_in(value).value_or(std::vector<std::string>()))
                begins_with_separator = path.starts_with('/');
        return begins_with_separator ? '/' + directory : directory;
    }

    void restore_times() {
        for (const auto& [basecode, value] : old_members(record_.file))
            if (record_.file.members.emplace(basecode, value).second)
                add_step(record_, "Restore the entry " + in_quotes(basecode) + " from " +
                                      old_name(record_.file) + ".");
    }

    FoundTree& tree_;
    RepairedFile contents_ = {tree_.shared.contents};
    RepairedFile record_ = {tree_.shared.record};
    Steps steps_;
};

Steps recovery_steps(const Directory& appdata) {
    Steps steps;
    const auto add = [&](std::string_view name, const char* text) {
        if (appdata.link_status(std::string(name)))
            steps.push_back({appdata.path_of(std::string(name)), text});
    };
    add(tree_names::commit, "Finish the interrupted change.");
    add(tree_names::staging, "Drop the interrupted change.");
    return steps;
}

// Appends the steps of a repair of the tree in `appdata`, and does them if there are any.
void repair_found(const Directory& appdata, RepairMode mode, Steps& steps) {
    FoundTree tree(appdata);
    Repair repair(tree);
    const Steps found = repair.find_steps();
    steps.insert(steps.end(), found.begin(), found.end());
    if (found.empty() || mode == RepairMode::dry_run)
        return;
    Transaction transaction(appdata);
    repair.put_into(transaction);
    transaction.commit();
}

} // namespace

std::vector<RepairStep> repair(const ustring& installRoot, RepairMode mode) {
    const Layout layout(installRoot);
    return reporting_exhausted_memory(layout.appdata, [&] {
        Directory appdata = open_tree(layout);
        Steps steps = recovery_steps(appdata);
        if (mode == RepairMode::apply)
            repair_found(LockedTree(std::move(appdata), {}).appdata, mode, steps);
        else
            repair_found(appdata, mode, steps);
        return steps;
    });
}

} // namespace install::tree
