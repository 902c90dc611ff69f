// Whether a tree holds what a write had to leave.

#include "install/tree/change/plan.hpp"
#include "install/tree/exhausted_memory.hpp"
#include "install/tree/found/entries.hpp"
#include "install/tree/found/found_tree.hpp"
#include "install/tree/in_quotes.hpp"
#include "install/tree/layout.hpp"

#include <map>
#include <optional>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using Kind = Fault::Kind;
using Faults = std::vector<Fault>;

std::optional<Fault> fault_of_document(const View& view, const std::string& name,
                                       const std::string& expected) {
    const std::string path = view.path_of(name);
    try {
        const auto found = view.read(name);
        if (!found)
            return Fault{Kind::missing, path, "The document is missing."};
        if (*found == expected)
            return std::nullopt;
        if (found->empty())
            return Fault{Kind::empty, path, "The document is empty."};
        return Fault{Kind::different, path, "The document has another text."};
    } catch (const tree_error& error) {
        return Fault{Kind::unreadable, path, error.what()};
    }
}

// Calls `check` with each expected key and the member that a shared file has for it, null if it has
// none. A file that holds no object is one fault.
template <class Expected, class Check>
void check_members(const SharedFile& file, const Expected& expected, Faults& faults,
                   const Check& check) {
    if (auto fault = file.fault()) {
        faults.push_back(std::move(*fault));
        return;
    }
    for (const auto& [key, value] : expected) {
        const auto member = file.members.find(key);
        const auto kind = check(value, member == file.members.end() ? nullptr : &member->second);
        if (kind)
            faults.push_back(
                {*kind, file.path, "The entry " + in_quotes(key) + " is " + name_of(*kind) + '.'});
    }
}

std::optional<Kind> check_paths(const Value* expected, const Value* found) {
    if (found == nullptr)
        return Kind::missing;
    return paths_in(*found) == paths_in(*expected) ? std::nullopt : std::optional(Kind::different);
}

std::optional<Kind> check_time(InstallTree::Time since, const Value* found) {
    if (found == nullptr)
        return Kind::missing;
    const auto time = time_in(*found);
    if (!time)
        return Kind::different;
    return *time < since ? std::optional(Kind::old) : std::nullopt;
}

// Compares a tree with what a write had to leave.
Faults compare(const View& view, const Plan& plan, InstallTree::Time since) {
    Faults faults;
    if (view.fault())
        faults.push_back({Kind::unreadable, view.fault()->path(), view.fault()->what()});
    for (const auto& [name, document] : plan.documents)
        if (auto fault = fault_of_document(view, name, document.text()))
            faults.push_back(std::move(*fault));
    std::map<std::string, const Value*> lists; // of products with the same key, the last one's
    std::map<std::string, InstallTree::Time> times;
    for (const Plan::Entry& entry : plan.entries) {
        lists.insert_or_assign(entry.key, &entry.paths);
        times.insert_or_assign(entry.basecode, since);
    }
    const SharedFiles shared(view);
    check_members(shared.contents, lists, faults, check_paths);
    check_members(shared.record, times, faults, check_time);
    return faults;
}

} // namespace

std::vector<Fault> InstallTree::verify(const std::vector<ProductSelection>& selections,
                                       Time since) const {
    const Layout layout(root_);
    return reporting_exhausted_memory("read", layout.appdata, [&]() -> Faults {
        const Plan plan = plan_write(layout, selections);
        if (selections.empty())
            return {};
        const auto appdata = find_tree(layout);
        if (!appdata)
            return {{Kind::missing, layout.appdata, "There is no install tree."}};
        return read_committed(*appdata,
                              [&](const View& view) { return compare(view, plan, since); });
    });
}

} // namespace install::tree
