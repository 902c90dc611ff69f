#include "install/tree/repair_plan.hpp"

#include "install/tree/inspection.hpp"
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

Value list_of(const Paths& paths) {
    ValueVector elements;
    for (const std::string& path : paths)
        elements.emplace_back(path);
    return Value(std::move(elements));
}

Paths paths_of(const Receipt& receipt) {
    Paths paths;
    for (const Receipt::Document& document : receipt.documents)
        paths.push_back(document.path);
    return paths;
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
          has_lost_receipts_(has_lost_members(tree_.receipts)) {
        tree_.receipts.require_readable();
        if (documents_.failure)
            throw tree_error(*documents_.failure);
    }

    void run() {
        swap_back();
        for (SharedFile* const file : {&tree_.contents, &tree_.record, &tree_.receipts})
            keep_damaged(*file);
        restore_receipts();
        find_latest_receipts();
        require_documents();
        if (has_lost_contents_)
            restore_entries();
        restore_times();
        for (SharedFile* const file : {&tree_.contents, &tree_.record, &tree_.receipts})
            if (file->is_edited())
                file->require_round_trip();
        Health health = inspect(tree_);
        plan_.report.listing = std::move(health.listing);
        plan_.report.remaining = std::move(health.problems);
        std::erase_if(plan_.report.remaining,
                      [](const Fault& fault) { return fault.kind == Fault::Kind::interrupted; });
    }

private:
    void add_step(const SharedFile& file, std::string text) {
        plan_.report.steps.push_back({file.path(), std::move(text)});
    }

    void add_note(const std::string& path, std::string text) {
        plan_.report.notes.push_back({Fault::Kind::not_restored, path, std::move(text)});
    }

    void swap_back() {
        if (!tree_.are_swapped())
            return;
        tree_.contents.swap_members(tree_.record);
        add_step(tree_.contents, "Swap this file with " + tree_.record.name() +
                                     ": each holds the members of the other.");
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
        if (!has_lost_receipts_)
            return;
        for (const std::string& key : restore_lost_receipts(tree_))
            add_step(tree_.receipts, "Restore the receipt of " + in_quotes(key) + " from " +
                                         tree_.receipts.name() +
                                         std::string(tree_names::old_suffix) + '.');
    }

    // Those of which no later write is known, as far as the installed record is.
    void find_latest_receipts() {
        for (const auto& [key, value] : tree_.receipts.members()) {
            auto receipt = receipt_in(key, value);
            const Value* const entry = receipt ? tree_.record.find(receipt->basecode) : nullptr;
            const bool is_lost = !time_in(entry) && (entry != nullptr || has_lost_record_);
            if (receipt && (is_lost ? is_latest(*receipt) : is_current(*receipt, tree_)))
                latest_.push_back(std::move(*receipt));
        }
    }

    // Where the last good version has a later time, the clock may have been turned back since: the
    // documents tell.
    [[nodiscard]] bool is_latest(const Receipt& receipt) const {
        const auto old = old_record_.members.find(receipt.basecode);
        return old == old_record_.members.end() || time_in(&old->second) <= receipt.time ||
               std::ranges::none_of(receipt.documents, [&](const Receipt::Document& document) {
                   return fault_of_document(tree_.view, document).has_value();
               });
    }

    [[nodiscard]] bool are_documents_there(const Paths& paths) const {
        return std::ranges::all_of(paths, [&](const std::string& path) {
            const auto name = document_name(path);
            return name && documents_.files.contains(*name);
        });
    }

    // Without the directory of the documents, all of them would seem to be removed.
    void require_documents() {
        if (has_lost_contents_ && !tree_.view.status(tree_names::documents).is_there() &&
            !(latest_.empty() && old_contents_.members.empty()))
            throw tree_error("repair", tree_.view.path_of(tree_names::documents),
                             "The directory of the documents is missing. Restore it first.");
    }

    void restore_entry(const std::string& key, Value value, const std::string& source) {
        tree_.contents.set(key, std::move(value));
        add_step(tree_.contents, "Restore the entry " + in_quotes(key) + " from " + source + '.');
    }

    void restore_entries() {
        for (const Receipt& receipt : latest_)
            if (tree_.contents.find(receipt.key) == nullptr)
                restore_entry(receipt.key, list_of(paths_of(receipt)), tree_.receipts.name());
        for (const auto& [key, value] : old_contents_.members)
            if (tree_.contents.find(key) == nullptr)
                restore_member_from_old(key, value);
        const std::string old_receipts =
            tree_.receipts.name() + std::string(tree_names::old_suffix);
        const bool never_had_receipts = tree_.receipts.is(SharedFile::State::missing) &&
                                        !tree_.view.status(old_receipts).is_there();
        if (never_had_receipts) // which would have been removed with their products
            restore_entries_from_documents();
    }

    // Of a removed entry the documents are gone, too.
    void restore_member_from_old(const std::string& key, const Value& value) {
        const auto paths = paths_in(value);
        if (is_entry_key(key) && !paths)
            return add_note(tree_.contents.path(), "The entry " + in_quotes(key) + " of " +
                                                       old_contents_.name +
                                                       " is not a list of paths.");
        if (!is_entry_key(key) || are_documents_there(*paths))
            restore_entry(key, value, old_contents_.name);
    }

    void restore_entries_from_documents() {
        ListedDocuments listed;
        for (const auto& [key, value] : tree_.contents.members())
            listed.add(key, value);
        std::map<std::string, Paths> lost; // names of documents by key
        for (const auto& [name, file] : documents_.files)
            if (const auto key = key_of(name);
                !key || listed.has(name) || listed.has_product_of(name))
                continue;
            else if (utf8::is_valid(name))
                lost[*key].push_back(name);
            else
                add_note(tree_.view.path_of(name),
                         "No entry can list this document: its name is not UTF-8.");
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
        for (const auto& [key, value] : tree_.contents.members())
            if (const auto paths = paths_in(value); is_entry_key(key) && paths && !paths->empty())
                return paths->front().starts_with('/') ? '/' + directory : directory;
        return '/' + directory;
    }

    // Of entries that are lost, or have no time.
    void restore_times() {
        std::map<std::string, InstallTree::Time> times; // of receipts, by basecodes
        for (const Receipt& receipt : latest_) {
            auto& time = times.try_emplace(receipt.basecode, receipt.time).first->second;
            time = std::max(time, receipt.time);
        }
        for (const auto& [basecode, time] : times)
            if (!time_in(tree_.record.find(basecode)))
                restore_time(basecode,
                             Value(static_cast<long long>(time.time_since_epoch().count())),
                             tree_.receipts.name());
        for (const auto& [basecode, value] : old_record_.members)
            if (tree_.record.find(basecode) == nullptr)
                restore_time(basecode, value, old_record_.name);
    }

    void restore_time(const std::string& basecode, Value value, const std::string& source) {
        tree_.record.set(basecode, std::move(value));
        add_step(tree_.record,
                 "Restore the entry " + in_quotes(basecode) + " from " + source + '.');
    }

    RepairPlan& plan_;
    FoundTree& tree_;
    Documents documents_;
    LastVersion old_contents_;
    LastVersion old_record_;
    bool has_lost_contents_; // before the repair, as the next two
    bool has_lost_record_;
    bool has_lost_receipts_;
    std::vector<Receipt> latest_; // those that are of the last writes
};

} // namespace

RepairPlan plan_repair(FoundTree tree) {
    RepairPlan plan = {std::move(tree), {}};
    Planner(plan).run();
    return plan;
}

} // namespace install::tree
