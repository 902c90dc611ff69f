#include "install/tree/repair_plan.hpp"

#include "foundation/json/serialize.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/tree/damaged_name.hpp"
#include "install/tree/found/entries.hpp"
#include "install/tree/found/receipts.hpp"
#include "install/tree/in_quotes.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <utf8.h>

#include <algorithm>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::serialize;
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

} // namespace

RepairPlan::RepairedFile::RepairedFile(SharedFile& shared_file, const View& view)
    : file(shared_file),
      old_name(file.name + std::string(tree_names::old_suffix)) {
    file.require_readable();
    if (file.is_damaged())
        damaged_name = free_damaged_name(view, file.name);
    if (!has_lost())
        return; // what it lacks was removed
    SharedFile last_good(view, old_name);
    last_good.require_readable();
    old = std::move(last_good.members);
}

RepairPlan::RepairPlan(FoundTree& tree)
    : tree_(tree),
      are_receipts_whole_(tree.shared.receipts.is(SharedFile::State::object)),
      contents_(tree.shared.contents, tree.view),
      record_(tree.shared.record, tree.view),
      receipts_(tree.shared.receipts, tree.view) {
    if (tree.documents.failure)
        throw tree_error(*tree.documents.failure);
    for (RepairedFile* const each : {&contents_, &record_, &receipts_})
        keep_damaged(*each);
    restore_receipts();
    find_receipts();
    restore_entries_from_receipts();
    restore_members_from_old();
    restore_entries_from_documents();
    restore_times();
    for (RepairedFile* const each : {&contents_, &record_, &receipts_})
        if (each->changed)
            make_text(*each);
}

void RepairPlan::put_into(Journal& journal) const {
    for (const RepairedFile* const each : {&contents_, &record_})
        if (each->text)
            journal.put(each->file.name, *each->text);
    if (receipts_.text)
        journal.put_own(receipts_.file.name, *receipts_.text);
    for (const RepairedFile* const each : {&contents_, &record_, &receipts_})
        if (!each->damaged_name.empty())
            journal.keep(each->file.name, each->damaged_name);
}

void RepairPlan::add_step(RepairedFile& to, std::string text) {
    to.changed = true;
    report_.steps.push_back({to.file.path, std::move(text)});
}

void RepairPlan::add_note(const std::string& path, std::string text) {
    report_.notes.push_back({Fault::Kind::not_restored, path, std::move(text)});
}

void RepairPlan::keep_damaged(RepairedFile& damaged) {
    if (damaged.damaged_name.empty())
        return;
    const std::size_t count = damaged.file.members.size();
    add_step(damaged, "Keep the damaged file as " + damaged.damaged_name + ", and " +
                          std::to_string(count) + " whole member" + (count == 1 ? "" : "s") +
                          " of it.");
}

// The documents of what was removed are gone.
void RepairPlan::restore_receipts() {
    for (auto& [key, value] : receipts_.old) {
        const auto receipt = receipt_in(key, value);
        if (!receipt || receipts_.file.members.contains(key) ||
            !are_documents_there(paths_of(*receipt)))
            continue;
        receipts_.file.members.emplace(key, std::move(value));
        add_step(receipts_,
                 "Restore the receipt of " + in_quotes(key) + " from " + receipts_.old_name + '.');
    }
}

void RepairPlan::find_receipts() {
    for (const auto& [key, value] : receipts_.file.members)
        if (auto receipt = receipt_in(key, value); receipt && is_latest(*receipt))
            latest_.push_back(std::move(*receipt));
}

// Whether no later write is known, as far as the installed record is.
bool RepairPlan::is_latest(const Receipt& receipt) const {
    if (!record_.has_lost() || record_.file.members.contains(receipt.basecode))
        return counts(receipt, record_.file.members);
    const auto old = record_.old.find(receipt.basecode);
    return old == record_.old.end() || time_in(old->second) <= receipt.time;
}

// A removal takes the receipt, too, be it of the last write or of an earlier one.
bool RepairPlan::may_be_removed(const std::string& key) const {
    return are_receipts_whole_ && !receipts_.file.members.contains(key);
}

bool RepairPlan::is_there(const std::string& path) const {
    const auto name = document_name(path);
    return name && tree_.documents.files.contains(*name);
}

bool RepairPlan::are_documents_there(const Paths& paths) const {
    return std::ranges::all_of(paths, [&](const std::string& path) { return is_there(path); });
}

void RepairPlan::restore_entry(const std::string& key, Value value, const std::string& source) {
    tree_.add_listed(key, value);
    contents_.file.members.emplace(key, std::move(value));
    add_step(contents_, "Restore the entry " + in_quotes(key) + " from " + source + '.');
}

// An entry that a whole contents map lacks may have been removed by hand, with all its documents.
void RepairPlan::restore_entries_from_receipts() {
    for (const Receipt& receipt : latest_) {
        const Paths paths = paths_of(receipt);
        const bool is_needed =
            contents_.has_lost() ||
            std::ranges::any_of(paths, [&](const std::string& path) { return is_there(path); });
        if (is_needed && !contents_.file.members.contains(receipt.key))
            restore_entry(receipt.key, list_of(paths), receipts_.file.name);
    }
}

void RepairPlan::restore_members_from_old() {
    for (const auto& [key, value] : contents_.old)
        if (contents_.file.members.contains(key))
            continue;
        else if (is_entry_key(key))
            restore_entry_from_old(key, value);
        else {
            contents_.file.members.emplace(key, value);
            add_step(contents_, "Restore the member " + in_quotes(key) +
                                    " of another program from " + contents_.old_name + '.');
        }
}

void RepairPlan::restore_entry_from_old(const std::string& key, const Value& value) {
    const auto paths = paths_in(value);
    const std::string entry = "The entry " + in_quotes(key) + " of " + contents_.old_name;
    if (!paths)
        return add_note(contents_.file.path, entry + " is not a list of paths.");
    if (!are_documents_there(*paths))
        return; // they went with it, or their names will tell
    if (!may_be_removed(key))
        return restore_entry(key, value, contents_.old_name);
    if (paths->empty())
        return;
    for_each_document(value, [this](const std::string& name) { noted_.insert(name); });
    add_note(contents_.file.path,
             entry + " has no receipt, so that it may have been removed. Write the product again.");
}

void RepairPlan::restore_entries_from_documents() {
    std::map<std::string, Paths> lost; // names of documents by key
    for (const auto& [name, file] : tree_.documents.files) {
        const auto key = key_of(name);
        if (!key || tree_.is_listed(name) || tree_.belongs_to_entry(name))
            continue;
        if (!utf8::is_valid(name))
            add_note(tree_.view.path_of(name), "No entry can list this document: its name is not "
                                               "UTF-8.");
        else if (!may_be_removed(*key))
            lost[*key].push_back(name);
        else if (!noted_.contains(name))
            add_note(tree_.view.path_of(name),
                     "No entry lists this document, and no receipt knows it, so that its product "
                     "may have been removed.");
    }
    const std::string directory = directory_in_lists();
    for (auto& [key, names] : lost)
        restore_entry_from_documents(key, std::move(names), directory);
}

void RepairPlan::restore_entry_from_documents(const std::string& key, Paths names,
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
std::string RepairPlan::directory_in_lists() const {
    const std::string directory = tree_names::join(tree_names::appdata, "");
    const ValueMap* const sources[] = {&contents_.file.members, &contents_.old};
    for (const ValueMap* const members : sources)
        for (const auto& [key, value] : *members)
            if (const auto paths = paths_in(value); is_entry_key(key) && paths && !paths->empty())
                return paths->front().starts_with('/') ? '/' + directory : directory;
    return '/' + directory;
}

void RepairPlan::restore_times() {
    struct Lost {
        InstallTree::Time time;
        const std::string* source;
    };
    std::map<std::string, Lost> lost; // by basecodes
    const auto add = [&](const std::string& basecode, const Lost& found) {
        if (record_.file.members.contains(basecode))
            return;
        Lost& latest = lost.try_emplace(basecode, found).first->second;
        if (latest.time < found.time)
            latest = found;
    };
    for (const Receipt& receipt : latest_)
        add(receipt.basecode, {receipt.time, &receipts_.file.name});
    for (const auto& [basecode, value] : record_.old)
        if (const auto time = time_in(value))
            add(basecode, {*time, &record_.old_name});
        else if (record_.file.members.emplace(basecode, value).second)
            add_step(record_, "Restore the member " + in_quotes(basecode) +
                                  " of another program from " + record_.old_name + '.');
    for (const auto& [basecode, found] : lost) {
        const long long time = found.time.time_since_epoch().count();
        record_.file.members.emplace(basecode, Value(time));
        add_step(record_,
                 "Restore the entry " + in_quotes(basecode) + " from " + *found.source + '.');
    }
}

void RepairPlan::make_text(RepairedFile& repaired) {
    std::string text = serialize(Value(std::move(repaired.file.members)));
    ValueMap members;
    const auto diagnosis = product_impl::utils::diagnoseJson(text, members);
    if (diagnosis.state != SharedFile::State::object ||
        serialize(Value(std::move(members))) != text)
        throw tree_error("repair", repaired.file.path,
                         "What is whole of it could not be read back once it is written.");
    repaired.text = std::move(text);
}

} // namespace install::tree
