// Whether a tree holds what a write had to leave.

#include "install/tree/disk/layout.hpp"
#include "install/tree/journal/view.hpp"
#include "install/tree/plan.hpp"
#include "install/tree/report/texts.hpp"
#include "install/tree/state/documents.hpp"
#include "install/tree/state/entries.hpp"
#include "install/tree/state/found_tree.hpp"
#include "install/tree_names.hpp"

#include <map>
#include <optional>
#include <set>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using Kind = Fault::Kind;
using Faults = std::vector<Fault>;

std::optional<Kind> fault_of_paths(const Value* found, const Value& expected) {
    if (found == nullptr)
        return Kind::missing;
    return paths_in(*found) == paths_in(expected) ? std::nullopt : std::optional(Kind::different);
}

std::optional<Kind> fault_of_time(const Value* found, InstallTree::Time since) {
    const auto time = time_in(found);
    if (!time)
        return found == nullptr ? Kind::missing : Kind::different;
    return *time < since ? std::optional(Kind::old) : std::nullopt;
}

// Compares a tree with what a write had to leave. A shared file that holds no object is one fault.
Faults compare(const View& view, const Plan& plan, InstallTree::Time since) {
    Faults faults;
    const auto add = [&](std::optional<Fault> fault) {
        if (fault)
            faults.push_back(std::move(*fault));
    };
    const auto add_entry = [&](const SharedFile& file, const std::string& key,
                               std::optional<Kind> kind) {
        if (kind && !file.fault())
            faults.push_back({*kind, file.path(),
                              "The entry " + in_quotes(key) + " is " + name_of(*kind) + '.'});
    };
    if (view.fault())
        faults.push_back({Kind::unreadable, view.fault()->path(), view.fault()->what()});
    for (const auto& [name, document] : plan.documents) {
        const FileRecord expected = FileRecord::of(name, document.text());
        add(fault_of_document(view, name, &expected, Comparison::text));
    }
    std::map<std::string, const Value*> lists; // of products with the same key, the last one's
    std::set<std::string> basecodes;
    for (const Plan::Entry& entry : plan.entries) {
        lists.insert_or_assign(entry.receipt.key, &entry.paths);
        basecodes.insert(entry.receipt.basecode);
    }
    const FoundTree tree(view);
    add(tree.contents.fault());
    for (const auto& [key, paths] : lists)
        add_entry(tree.contents, key, fault_of_paths(tree.contents.find(key), *paths));
    add(tree.record.fault());
    for (const std::string& basecode : basecodes)
        add_entry(tree.record, basecode, fault_of_time(tree.record.find(basecode), since));
    return faults;
}

} // namespace

std::vector<Fault> InstallTree::verify(const std::vector<ProductSelection>& selections,
                                       Time since) const {
    const Layout layout(root_);
    const Plan plan = plan_write(layout, selections);
    if (selections.empty())
        return {};
    const auto appdata = Directory::open(layout.appdata, tree_names::documents);
    if (!appdata)
        return {{Kind::missing, layout.appdata, "There is no install tree."}};
    return read_committed(
        *appdata, options_, [&](const View& view) { return compare(view, plan, since); },
        [](const Faults& faults) { return !faults.empty(); });
}

} // namespace install::tree
