#include "install/tree/change/change.hpp"

#include "install/clock.hpp"
#include "install/tree/change/plan.hpp"
#include "install/tree/change/shared_objects.hpp"
#include "install/tree/found/documents.hpp"
#include "install/tree/found/entries.hpp"
#include "install/tree/found/receipts.hpp"

#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace install::tree {

using foundation::json::Value;
using foundation::json::ValueVector;

namespace {

// Removes the receipts of products. Returns the products with their basecodes, where these are
// given or known.
std::vector<InstalledProduct> take_receipts(std::vector<InstalledProduct> products,
                                            SharedObjects& shared) {
    if (!shared.receipts)
        return products;
    std::map<std::string, InstalledProduct*> found; // by basecodes from receipts
    for (InstalledProduct& product : products) {
        const auto value = shared.receipts->find_and_take(product.key);
        const auto receipt = value ? receipt_in(product.key, *value) : std::nullopt;
        shared.receipts_change = shared.receipts_change || value;
        if (receipt && !product.basecode && counts(*receipt, shared.record.members()))
            found.emplace(receipt->basecode, &product);
    }
    if (!found.empty()) // what other products have stays
        for (const Receipt& other :
             counting_receipts(shared.receipts->members(), shared.record.members()))
            found.erase(other.basecode);
    for (const auto& [basecode, product] : found)
        product->basecode = basecode;
    return products;
}

// Removes the entries of products. Returns the names of the documents that were theirs: those that
// they list, and those of former selections.
std::set<std::string> remove_entries(const Directory& appdata,
                                     const std::vector<InstalledProduct>& products,
                                     SharedObjects& shared) {
    std::set<std::string> names;
    std::set<std::string> prefixes;
    for (const InstalledProduct& product : products) {
        const Value removed = shared.contents.take(product.key);
        for_each_document(removed, [&](const std::string& name) { names.insert(name); });
        if (is_entry_key(product.key))
            prefixes.insert(name_prefix(product.key));
        if (product.basecode) {
            static_cast<void>(shared.record.take(*product.basecode));
            shared.record_changes = true;
        }
    }
    if (!prefixes.empty())
        for (std::string& name : find_documents(appdata, prefixes))
            names.insert(std::move(name));
    return names;
}

// Sets the entries of a plan, and returns their receipts, still without sizes and digests.
std::vector<Receipt> set_entries(Plan& plan, SharedObjects& shared) {
    const long long milliseconds = milliseconds_since_epoch();
    const InstallTree::Time time{std::chrono::milliseconds(milliseconds)};
    std::vector<Receipt> receipts;
    receipts.reserve(plan.entries.size());
    for (Plan::Entry& entry : plan.entries) {
        Receipt& receipt = receipts.emplace_back(Receipt{entry.key, entry.basecode, time, {}});
        for (const Value& path : entry.paths.get<ValueVector>())
            receipt.documents.push_back({path.get<std::string>(), 0, {}});
        shared.contents.set(entry.key, std::move(entry.paths));
        shared.record.set(entry.basecode, Value(milliseconds));
        shared.record_changes = true;
    }
    return receipts;
}

// Leaves those of the documents that are neither written nor listed by any entry.
void keep_needed(std::set<std::string>& doomed, const Plan& plan, SharedObject& contents) {
    for (const auto& [name, document] : plan.documents)
        doomed.erase(name);
    if (!doomed.empty())
        for (const auto& [key, value] : contents.members())
            for_each_document(value, [&](const std::string& name) { doomed.erase(name); });
}

// Stages the documents, and completes their receipts.
void put_documents(Plan& plan, std::vector<Receipt>& receipts, Journal& journal) {
    std::map<std::string_view, Manifest::Entry::Content> contents;
    for (const auto& [name, document] : plan.documents)
        contents.emplace_hint(contents.end(), name, journal.put(name, document.text()));
    for (std::size_t index = 0; index < receipts.size(); ++index) {
        auto name = plan.entries[index].documents.begin();
        for (Receipt::Document& document : receipts[index].documents) {
            const auto& content = contents.at(**name++);
            document.size = content.size;
            document.sha256 = hexadecimal(content.digest);
        }
    }
}

} // namespace

std::unique_ptr<StagedChange> prepare_change(const Layout& layout, const Options& options,
                                             const Change& change) {
    constexpr std::size_t shared_files = 6; // three, and what they were
    Plan plan = plan_write(layout, change.write);
    auto staged = std::make_unique<StagedChange>(
        change.write.empty() ? open_tree(layout) : create_tree(layout), options);
    const Directory& appdata = staged->tree.appdata;
    Journal& journal = staged->journal;
    SharedObjects shared(appdata);
    staged->removed = take_receipts(change.remove, shared);
    std::set<std::string> doomed = remove_entries(appdata, staged->removed, shared);
    std::vector<Receipt> receipts = set_entries(plan, shared);
    keep_needed(doomed, plan, shared.contents);
    journal.expect(plan.documents.size() + doomed.size() + shared_files);
    put_documents(plan, receipts, journal);
    if (shared.receipts)
        for (const Receipt& receipt : receipts) {
            shared.receipts->set(receipt.key, value_of(receipt));
            shared.receipts_change = true;
        }
    shared.put_into(journal);
    for (const std::string& name : doomed)
        journal.remove(name);
    return staged;
}

bool recover_tree(const Layout& layout, const Options& options) {
    auto appdata = find_tree(layout);
    return appdata && leftover_in(*appdata) != Leftover::none &&
           LockedTree(std::move(*appdata), options).leftover != Leftover::none;
}

} // namespace install::tree
