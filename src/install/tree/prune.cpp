#include "install/tree/prune.hpp"

#include "install/tree/disk/layout.hpp"
#include "install/tree/journal/journal.hpp"
#include "install/tree/journal/recovery.hpp"
#include "install/tree/journal/view.hpp"
#include "install/tree/report/texts.hpp"
#include "install/tree/state/documents.hpp"
#include "install/tree/state/entries.hpp"
#include "install/tree/state/found_tree.hpp"
#include "install/tree/state/receipts.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <utf8.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace install::tree {

namespace {

using foundation::json::Value;

struct PrunePlan {
    std::vector<std::string> names; // in appdata, of the documents
    PruneReport report;
};

[[noreturn]] void refuse(const SharedFile& file, const std::string& reason) {
    throw tree_error("prune by", file.path(), reason);
}

// Which documents an entry has is known only if it is a list, in the encoding of their names.
void require_list(const SharedFile& contents, const std::string& key, const Value& value) {
    const auto paths = paths_in(value);
    const auto is_utf8 = [](const std::string& text) { return utf8::is_valid(text); };
    if (!paths && is_entry_key(key))
        refuse(contents, "The entry " + in_quotes(key) + " is not a list of paths.");
    if (paths && !(is_utf8(key) && std::ranges::all_of(*paths, is_utf8)))
        refuse(contents, "Some of its text is not UTF-8.");
}

// A document whose entry or receipt is only lost must stay. serialize leaves no receipts.
void require_whole(const FoundTree& tree) {
    for (const SharedFile* const file : {&tree.contents, &tree.record, &tree.receipts}) {
        file->require_object();
        if (file->is(SharedFile::State::missing) && file != &tree.receipts)
            refuse(*file, "There is no file.");
    }
    if (tree.are_swapped())
        refuse(tree.contents, "This is the installed record.");
    if (tree.contents.repeated_keys() > 0)
        refuse(tree.contents, "It has a key twice. The next write keeps the first of both.");
    for (const auto& [key, value] : tree.contents.members())
        require_list(tree.contents, key, value);
}

PrunePlan plan_prune(const FoundTree& tree) {
    require_whole(tree);
    const Documents documents(tree.view);
    if (documents.failure)
        throw tree_error(*documents.failure);
    const auto& files = documents.files;
    ListedDocuments listed(!files.empty() &&
                           ignores_case(tree.view.appdata(), files.begin()->first));
    for (const auto& [key, value] : tree.contents.members())
        listed.add(key, value);
    const DocumentRecords records(current_receipts(tree));
    PrunePlan plan;
    plan.report.notes = documents.faults;
    for (const auto& [name, file] : files) {
        if (listed.has(name))
            continue;
        const std::string path = tree.view.path_of(name);
        const auto keep = [&](const char* reason) {
            plan.report.notes.push_back({Fault::Kind::not_listed, path, reason});
        };
        if (!name.ends_with(tree_names::document_suffix))
            keep("This is not a document, and stays.");
        else if (records.find(name) != nullptr)
            keep("No entry lists this document, but a receipt has it, and it stays.");
        else {
            plan.names.push_back(name);
            plan.report.documents.push_back(path);
        }
    }
    return plan;
}

// Returns what a prune of the tree would do.
PruneReport find_prune(const View& view) {
    if (view.fault())
        throw tree_error(*view.fault());
    const Directory& appdata = view.appdata();
    const bool is_interrupted =
        find_remains(appdata) == Remains::to_roll_back && !is_locked(appdata);
    const View rolled_back(appdata, {}, is_interrupted);
    return plan_prune(FoundTree(rolled_back)).report;
}

PruneReport do_prune(Directory directory, const Options& options) {
    LockedTree locked(std::move(directory), options);
    const View view(locked.appdata);
    PrunePlan plan = plan_prune(FoundTree(view));
    if (plan.names.empty())
        return std::move(plan.report);
    Journal journal(locked.appdata, locked.lock, options);
    journal.announce(plan.names.size());
    for (const std::string& name : plan.names)
        journal.remove(name);
    if (!view.is_current()) // a program that knows no lock may have listed one of them
        throw tree_error("prune by", locked.appdata.path_of(tree_names::contents_map),
                         "Another program has written it meanwhile.");
    journal.commit();
    return std::move(plan.report);
}

} // namespace

PruneReport prune(const ustring& installRoot, RepairMode mode, const Options& options) {
    Directory appdata = open_tree(Layout(installRoot));
    if (mode == RepairMode::apply)
        return do_prune(std::move(appdata), options);
    return read_committed(appdata, options, find_prune, [](const PruneReport& report) {
        return !report.documents.empty() || !report.notes.empty();
    });
}

} // namespace install::tree
