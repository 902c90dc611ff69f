#include "install/tree/install_tree.hpp"

#include "install/tree/entries.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/locked_tree.hpp"
#include "install/tree/plan.hpp"
#include "install/tree/shared_object.hpp"

#include <set>
#include <utility>

namespace install::tree {

using foundation::json::Value;

namespace {

// Milliseconds since the Unix epoch, as the product object writes them.
long long now() {
    const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(since_epoch).count();
}

// Returns the documents of the removed entries that none of the others lists, by their names in
// appdata.
std::set<std::string> documents_to_remove(const std::vector<Value>& removed,
                                          const foundation::json::ValueMap& others) {
    std::set<std::string> names;
    const auto each_name = [](const Value& value, const auto& visit) {
        for (const std::string& path : paths_in(value).value_or(std::vector<std::string>()))
            if (const auto name = document_name(path))
                visit(*name);
    };
    for (const Value& value : removed)
        each_name(value, [&](const std::string& name) { names.insert(name); });
    for (const auto& [key, value] : others)
        each_name(value, [&](const std::string& name) { names.erase(name); });
    return names;
}

void change(const LockedTree& tree, const Layout& layout, Plan& plan) {
    SharedObject contents(tree.appdata, layout.contents_map);
    SharedObject record(tree.appdata, layout.installed_record);
    Transaction transaction(tree.appdata);
    for (const auto& [name, text] : plan.documents)
        transaction.put(name, *text);
    const long long time = now();
    for (Plan::Entry& entry : plan.entries) {
        contents.set(entry.key, std::move(entry.paths));
        record.set(entry.basecode, Value(time));
    }
    contents.put_into(transaction);
    record.put_into(transaction);
    transaction.commit();
}

void change(const LockedTree& tree, const Layout& layout,
            const std::vector<InstalledProduct>& products) {
    SharedObject contents(tree.appdata, layout.contents_map);
    SharedObject record(tree.appdata, layout.installed_record);
    std::vector<Value> removed;
    bool record_changes = false;
    for (const InstalledProduct& product : products) {
        removed.push_back(contents.take(product.key));
        if (product.basecode) {
            static_cast<void>(record.take(*product.basecode));
            record_changes = true;
        }
    }
    Transaction transaction(tree.appdata);
    for (const std::string& name : documents_to_remove(removed, contents.members()))
        if (tree.appdata.link_status(name))
            transaction.remove(name);
    contents.put_into(transaction);
    if (record_changes)
        record.put_into(transaction);
    transaction.commit();
}

} // namespace

InstallTree::InstallTree(ustring installRoot) : root_(std::move(installRoot)) {
    static_cast<void>(Layout(root_)); // throws now rather than later
}

void InstallTree::on_wait(std::function<void(std::int64_t process)> observer) {
    on_wait_ = std::move(observer);
}

void InstallTree::write(const std::vector<ProductSelection>& selections) {
    const Layout layout(root_);
    reporting_exhausted_memory(layout.appdata, [&] {
        Plan plan = plan_write(layout, selections);
        if (selections.empty())
            static_cast<void>(recover());
        else
            change(LockedTree(Directory::create(layout.appdata), on_wait_), layout, plan);
    });
}

void InstallTree::remove(const std::vector<InstalledProduct>& products) {
    const Layout layout(root_);
    reporting_exhausted_memory(layout.appdata, [&] {
        if (products.empty())
            static_cast<void>(recover());
        else
            change(LockedTree(Directory::open_existing(layout.appdata), on_wait_), layout,
                   products);
    });
}

Listing InstallTree::list() const {
    const Layout layout(root_);
    const auto appdata = Directory::open(layout.appdata);
    if (!appdata)
        return {};
    SharedObject contents(*appdata, layout.contents_map);
    SharedObject record(*appdata, layout.installed_record);
    return {contents_entries(contents.members()), record_entries(record.members())};
}

bool InstallTree::recover() {
    const Layout layout(root_);
    return reporting_exhausted_memory(layout.appdata, [&] {
        auto appdata = Directory::open(layout.appdata);
        return appdata && is_interrupted(*appdata) &&
               LockedTree(std::move(*appdata), on_wait_).recovered;
    });
}

} // namespace install::tree
