#include "install/tree/change/change.hpp"

#include "install/clock.hpp"
#include "install/tree/change/locked_tree.hpp"
#include "install/tree/change/plan.hpp"
#include "install/tree/change/shared_object.hpp"
#include "install/tree/found/entries.hpp"
#include "install/tree_names.hpp"

#include <set>
#include <utility>

namespace install::tree {

using foundation::json::Value;

namespace {

// Returns the documents of the removed entries that none of the others lists, by their names in
// appdata.
std::set<std::string> documents_to_remove(const std::vector<Value>& removed,
                                          const foundation::json::ValueMap& others) {
    std::set<std::string> names;
    for (const Value& value : removed)
        for_each_document(value, [&](const std::string& name) { names.insert(name); });
    for (const auto& [key, value] : others)
        for_each_document(value, [&](const std::string& name) { names.erase(name); });
    return names;
}

} // namespace

void write_products(const Layout& layout, const FileLock::Observer& on_wait,
                    const std::vector<ProductSelection>& selections) {
    Plan plan = plan_write(layout, selections);
    const LockedTree tree(Directory::create(layout.appdata), on_wait);
    SharedObject contents(tree.appdata, tree_names::contents_map);
    SharedObject record(tree.appdata, tree_names::installed_record);
    Transaction transaction(tree.appdata);
    for (const auto& [name, text] : plan.documents)
        transaction.put(name, *text);
    const long long time = milliseconds_since_epoch();
    for (Plan::Entry& entry : plan.entries) {
        contents.set(entry.key, std::move(entry.paths));
        record.set(entry.basecode, Value(time));
    }
    contents.put_into(transaction);
    record.put_into(transaction);
    transaction.commit();
}

void remove_products(const Layout& layout, const FileLock::Observer& on_wait,
                     const std::vector<InstalledProduct>& products) {
    const LockedTree tree(open_tree(layout), on_wait);
    SharedObject contents(tree.appdata, tree_names::contents_map);
    SharedObject record(tree.appdata, tree_names::installed_record);
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

bool recover_tree(const Layout& layout, const FileLock::Observer& on_wait) {
    auto appdata = Directory::open(layout.appdata);
    return appdata && is_interrupted(*appdata) &&
           LockedTree(std::move(*appdata), on_wait).recovered;
}

} // namespace install::tree
