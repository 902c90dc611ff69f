#include "install/tree/repair_plan.hpp"

#include "install/tree/report/texts.hpp"
#include "install/tree/state/documents.hpp"
#include "install/tree/state/entries.hpp"
#include "install/tree/state/receipts.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <utf8.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace install::tree {

namespace {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using Paths = std::vector<std::string>;

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

Paths paths_of(const Receipt& receipt) {
    Paths paths;
    for (const Receipt::Document& document : receipt.documents)
        paths.push_back(document.path);
    return paths;
}

Value list_of(const Paths& paths) {
    ValueVector elements;
    for (const std::string& path : paths)
        elements.emplace_back(path);
    return Value(std::move(elements));
}

// A file has lost members if it holds no object; what it lacks otherwise was removed.
bool has_lost_members(const SharedFile& file) {
    return !file.is(SharedFile::State::object);
}

// The last good version of a file that has lost members; nothing of one that has not.
struct LastVersion {
    LastVersion(const View& view, const SharedFile& file)
        : name(file.name() + std::string(tree_names::old_suffix)) {
        file.require_readable();
        if (!has_lost_members(file))
            return;
        const SharedFile old(view, name);
        old.require_readable();
        members = old.members();
    }

    std::string name;
    ValueMap members;
};

// Makes a plan step by step.
class Planner {
public:
    explicit Planner(RepairPlan& plan)
        : plan_(plan),
          tree_(plan.tree),
          documents_(tree_.view),
          old_contents_(tree_.view, tree_.contents),
          old_record_(tree_.view, tree_.record),
          has_lost_contents_(has_lost_members(tree_.contents)),
          has_lost_record_(has_lost_members(tree_.record)),
          are_receipts_whole_(!has_lost_members(tree_.receipts)) {
        tree_.receipts.require_readable();
        if (documents_.failure)
            throw tree_error(*documents_.failure);
        for (const auto& [key, value] : tree_.contents.members())
            listed_.add(key, value);
    }

    void run() {
        for (SharedFile* const file : {&tree_.contents, &tree_.record, &tree_.receipts})
            keep_damaged(*file);
        restore_receipts();
        find_latest_receipts();
        restore_entries_from_receipts();
        restore_members_from_old();
        restore_entries_from_documents();
        restore_times();
        for (SharedFile* const file : {&tree_.contents, &tree_.record, &tree_.receipts})
            if (file->is_edited())
                file->require_round_trip();
    }

private:
    void add_step(const SharedFile& file, std::string text) {
        plan_.report.steps.push_back({file.path(), std::move(text)});
    }

    void add_note(const std::string& path, std::string text) {
        plan_.report.notes.push_back({Fault::Kind::not_restored, path, std::move(text)});
    }

    void keep_damaged(SharedFile& file) {
        if (!file.is_damaged())
            return;
        file.rewrite();
        const std::size_t count = file.members().size();
        add_step(file, "Keep the damaged file as " + file.kept_name() + ", and " +
                           std::to_string(count) + " whole member" + (count == 1 ? "" : "s") +
                           " of it.");
    }

    void restore_receipts() {
        if (are_receipts_whole_)
            return;
        for (const std::string& key :
             restore_lost_receipts(tree_.view, tree_.receipts, tree_.contents, tree_.record))
            add_step(tree_.receipts, "Restore the receipt of " + in_quotes(key) + " from " +
                                         tree_.receipts.name() +
                                         std::string(tree_names::old_suffix) + '.');
    }

    void find_latest_receipts() {
        for (const auto& [key, value] : tree_.receipts.members())
            if (auto receipt = receipt_in(key, value); receipt && is_latest(*receipt))
                latest_.push_back(std::move(*receipt));
    }

    // Whether no later write is known, as far as the installed record is.
    [[nodiscard]] bool is_latest(const Receipt& receipt) const {
        if (!has_lost_record_ || tree_.record.has(receipt.basecode))
            return is_current(receipt, tree_.record.members());
        const auto old = old_record_.members.find(receipt.basecode);
        return old == old_record_.members.end() || time_in(old->second) <= receipt.time;
    }

    // A removal takes the receipt, too, be it of the last write or of an earlier one.
    [[nodiscard]] bool may_be_removed(const std::string& key) const {
        return are_receipts_whole_ && !tree_.receipts.has(key);
    }

    [[nodiscard]] bool is_there(const std::string& path) const {
        const auto name = document_name(path);
        return name && documents_.files.contains(*name);
    }

    [[nodiscard]] bool are_documents_there(const Paths& paths) const {
        return std::ranges::all_of(paths, [&](const std::string& path) { return is_there(path); });
    }

    void restore_entry(const std::string& key, Value value, const std::string& source) {
        listed_.add(key, value);
        tree_.contents.set(key, std::move(value));
        add_step(tree_.contents, "Restore the entry " + in_quotes(key) + " from " + source + '.');
    }

    // An entry that a whole contents map lacks may have been removed by hand, with all its
    // documents.
    void restore_entries_from_receipts() {
        for (const Receipt& receipt : latest_) {
            const Paths paths = paths_of(receipt);
            const bool is_needed =
                has_lost_contents_ ||
                std::ranges::any_of(paths, [&](const std::string& path) { return is_there(path); });
            if (is_needed && !tree_.contents.has(receipt.key))
                restore_entry(receipt.key, list_of(paths), tree_.receipts.name());
        }
    }

    void restore_members_from_old() {
        for (const auto& [key, value] : old_contents_.members)
            if (tree_.contents.has(key))
                continue;
            else if (is_entry_key(key))
                restore_entry_from_old(key, value);
            else {
                tree_.contents.set(key, value);
                add_step(tree_.contents, "Restore the member " + in_quotes(key) +
                                             " of another program from " + old_contents_.name +
                                             '.');
            }
    }

    void restore_entry_from_old(const std::string& key, const Value& value) {
        const auto paths = paths_in(value);
        const std::string entry = "The entry " + in_quotes(key) + " of " + old_contents_.name;
        if (!paths)
            return add_note(tree_.contents.path(), entry + " is not a list of paths.");
        if (!are_documents_there(*paths))
            return; // they went with it, or their names will tell
        if (!may_be_removed(key))
            return restore_entry(key, value, old_contents_.name);
        if (paths->empty())
            return;
        for_each_listed_document(value, [this](const std::string& name) { noted_.insert(name); });
        add_note(tree_.contents.path(),
                 entry +
                     " has no receipt, so that it may have been removed. Write the product again.");
    }

    void restore_entries_from_documents() {
        std::map<std::string, Paths> lost; // names of documents by key
        for (const auto& [name, file] : documents_.files) {
            const auto key = key_of(name);
            if (!key || listed_.has(name) || listed_.has_product_of(name))
                continue;
            if (!utf8::is_valid(name))
                add_note(tree_.view.path_of(name),
                         "No entry can list this document: its name is not "
                         "UTF-8.");
            else if (!may_be_removed(*key))
                lost[*key].push_back(name);
            else if (!noted_.contains(name))
                add_note(
                    tree_.view.path_of(name),
                    "No entry lists this document, and no receipt knows it, so that its product "
                    "may have been removed.");
        }
        const std::string directory = directory_in_lists();
        for (auto& [key, names] : lost)
            restore_entry_from_documents(key, std::move(names), directory);
    }

    void restore_entry_from_documents(const std::string& key, Paths names,
                                      const std::string& directory) {
        std::string first = name_prefix(key);
        first.append(tree_names::entry_tag).append(tree_names::document_suffix);
        if (const auto found = std::ranges::find(names, first); found != names.end())
            std::rotate(names.begin(), found, found + 1);
        for (std::string& name : names)
            name.insert(0, directory);
        restore_entry(key, list_of(names), "its documents");
    }

    // Returns what paths in appdata begin with in the lists of other entries.
    [[nodiscard]] std::string directory_in_lists() const {
        const std::string directory = tree_names::join(tree_names::appdata, "");
        const ValueMap* const sources[] = {&tree_.contents.members(), &old_contents_.members};
        for (const ValueMap* const members : sources)
            for (const auto& [key, value] : *members)
                if (const auto paths = paths_in(value);
                    is_entry_key(key) && paths && !paths->empty())
                    return paths->front().starts_with('/') ? '/' + directory : directory;
        return '/' + directory;
    }

    void restore_times() {
        struct Lost {
            InstallTree::Time time;
            const std::string* source;
        };
        std::map<std::string, Lost> lost; // by basecodes
        const auto add = [&](const std::string& basecode, const Lost& found) {
            if (tree_.record.has(basecode))
                return;
            Lost& latest = lost.try_emplace(basecode, found).first->second;
            if (latest.time < found.time)
                latest = found;
        };
        for (const Receipt& receipt : latest_)
            add(receipt.basecode, {receipt.time, &tree_.receipts.name()});
        for (const auto& [basecode, value] : old_record_.members)
            if (const auto time = time_in(value))
                add(basecode, {*time, &old_record_.name});
            else if (!tree_.record.has(basecode)) {
                tree_.record.set(basecode, value);
                add_step(tree_.record, "Restore the member " + in_quotes(basecode) +
                                           " of another program from " + old_record_.name + '.');
            }
        for (const auto& [basecode, found] : lost) {
            const long long time = found.time.time_since_epoch().count();
            tree_.record.set(basecode, Value(time));
            add_step(tree_.record,
                     "Restore the entry " + in_quotes(basecode) + " from " + *found.source + '.');
        }
    }

    RepairPlan& plan_;
    FoundTree& tree_;
    Documents documents_;
    LastVersion old_contents_;
    LastVersion old_record_;
    bool has_lost_contents_; // before the repair, as the next two
    bool has_lost_record_;
    bool are_receipts_whole_; // so that they have every product that was not removed
    ListedDocuments listed_;
    std::vector<Receipt> latest_; // those that are of the last writes
    std::set<std::string> noted_; // documents of entries that are left out
};

} // namespace

RepairPlan plan_repair(FoundTree tree) {
    RepairPlan plan = {std::move(tree), {}};
    Planner(plan).run();
    return plan;
}

} // namespace install::tree
