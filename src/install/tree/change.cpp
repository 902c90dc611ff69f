// Changes of an install tree, from the arguments of InstallTree to the disk.

#include "install/tree/change.hpp"

#include "install/clock.hpp"
#include "install/tree/disk/layout.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/journal/journal.hpp"
#include "install/tree/journal/recovery.hpp"
#include "install/tree/plan.hpp"
#include "install/tree/report/texts.hpp"
#include "install/tree/state/documents.hpp"
#include "install/tree/state/entries.hpp"
#include "install/tree/state/found_tree.hpp"
#include "install/tree/state/receipts.hpp"

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace install::tree {

using foundation::json::Value;
using foundation::json::ValueVector;

// A change that is staged, and the lock of its tree.
struct StagedChange {
    StagedChange(Directory directory, const Options& options)
        : tree(std::move(directory), options),
          journal(tree.appdata, tree.lock, options) {}

    LockedTree tree;
    Journal journal;
    std::vector<InstalledProduct> removed; // with the basecodes that are
    std::vector<SkippedDocument> skipped;
};

namespace {

// Damaged receipts never stand in the way of a change, and are kept; those that cannot be read
// might be whole. What is no file is left alone.
void require_usable(FoundTree& tree) {
    tree.contents.require_object();
    tree.record.require_object();
    if (tree.receipts.is_not_regular())
        return;
    tree.receipts.require_readable();
    if (tree.receipts.is_damaged())
        restore_lost_receipts(tree);
}

Value take(SharedFile& file, const std::string& key) {
    auto value = file.take(key);
    if (!value)
        throw tree_error("remove " + in_quotes(key) + " from", file.path(),
                         "There is no such entry.");
    return std::move(*value);
}

// Removes the receipts of products. Returns the products with their basecodes, where these are
// given or known.
std::vector<InstalledProduct> take_receipts(std::vector<InstalledProduct> products,
                                            FoundTree& tree) {
    std::map<std::string, InstalledProduct*> found; // by basecodes from receipts
    for (InstalledProduct& product : products) {
        const auto value = tree.receipts.take(product.key);
        const auto receipt = value ? receipt_in(product.key, *value) : std::nullopt;
        if (receipt && !product.basecode && is_current(*receipt, tree))
            found.emplace(receipt->basecode, &product);
    }
    if (!found.empty()) // what other products have stays
        for (const Receipt& other : current_receipts(tree))
            found.erase(other.basecode);
    for (const auto& [basecode, product] : found)
        product->basecode = basecode;
    return products;
}

// Removes the entries of products. Returns the names of the documents that were theirs: those that
// they list, and those of earlier selections.
std::set<std::string> remove_entries(const std::vector<InstalledProduct>& products,
                                     FoundTree& tree) {
    std::set<std::string> names;
    std::set<std::string> prefixes;
    for (const InstalledProduct& product : products) {
        const Value removed = take(tree.contents, product.key);
        for_each_listed_document(removed, [&](const std::string& name) { names.insert(name); });
        if (is_entry_key(product.key))
            prefixes.insert(name_prefix(product.key));
        if (product.basecode)
            static_cast<void>(take(tree.record, *product.basecode));
    }
    if (!prefixes.empty())
        for (std::string& name : find_documents(tree.view.appdata(), prefixes))
            names.insert(std::move(name));
    return names;
}

// Leaves those of the documents that are neither written nor listed by any entry.
void leave_needed(std::set<std::string>& doomed, const Plan& plan, const FoundTree& tree) {
    for (const auto& [name, document] : plan.documents)
        doomed.erase(name);
    if (doomed.empty())
        return;
    for (const auto& [key, value] : tree.contents.members())
        for_each_listed_document(value, [&](const std::string& name) { doomed.erase(name); });
    if (std::ranges::none_of(doomed, [&](const std::string& name) {
            return ignores_case(tree.view.appdata(), name);
        }))
        return;
    ListedDocuments listed(true);
    for (const auto& [key, value] : tree.contents.members())
        listed.add(key, value);
    std::erase_if(doomed, [&](const std::string& name) { return listed.has(name); });
}

// Sets the entries of a product, and its receipt.
void set_entries(Plan::Entry& entry, long long milliseconds, FoundTree& tree) {
    Receipt& receipt = entry.receipt;
    receipt.time = InstallTree::Time(std::chrono::milliseconds(milliseconds));
    auto document = entry.listed.begin();
    for (const Value& path : entry.paths.get<ValueVector>()) {
        const FileRecord& file = (*document++)->written;
        receipt.documents.push_back(
            {path.get<std::string>(), file.size, hexadecimal(file.digest.value())});
    }
    tree.contents.set(receipt.key, std::move(entry.paths));
    tree.record.set(receipt.basecode, Value(milliseconds));
    if (!tree.receipts.is_not_regular())
        tree.receipts.set(receipt.key, value_of(receipt));
}

std::unique_ptr<StagedChange> stage(const Layout& layout, const Options& options,
                                    const Change& change) {
    Plan plan = plan_write(layout, change.write);
    if (options.missing_documents == MissingDocuments::refuse)
        require_no_skipped(layout, plan);
    auto staged = std::make_unique<StagedChange>(open_tree(layout, !change.write.empty()), options);
    staged->skipped = std::move(plan.skipped);
    Journal& journal = staged->journal;
    const View view(staged->tree.appdata);
    FoundTree tree(view);
    require_usable(tree);
    staged->removed = take_receipts(change.remove, tree);
    std::set<std::string> doomed = remove_entries(staged->removed, tree);
    leave_needed(doomed, plan, tree);
    if (!plan.entries.empty())
        tree.expect_edits();
    journal.announce(plan.documents.size() + doomed.size() + tree.count_files_to_put());
    for (auto& [name, document] : plan.documents)
        document.written = journal.replace(name, document.text());
    const long long milliseconds = milliseconds_since_epoch();
    for (Plan::Entry& entry : plan.entries)
        set_entries(entry, milliseconds, tree);
    tree.put_into(journal);
    for (const std::string& name : doomed)
        journal.remove(name);
    return staged;
}

} // namespace

PreparedChange InstallTree::prepare(const Change& change) {
    if (!change.write.empty() || !change.remove.empty())
        return PreparedChange(stage(Layout(root_), options_, change));
    static_cast<void>(recover());
    return PreparedChange(nullptr);
}

PreparedChange::PreparedChange(std::unique_ptr<StagedChange> staged) noexcept
    : staged_(std::move(staged)) {}
PreparedChange::PreparedChange(PreparedChange&& other) noexcept = default;
PreparedChange& PreparedChange::operator=(PreparedChange&& other) noexcept = default;
PreparedChange::~PreparedChange() = default;

std::vector<ChangeStep> PreparedChange::steps() const {
    return staged_ ? staged_->journal.steps() : std::vector<ChangeStep>();
}

std::vector<InstalledProduct> PreparedChange::removed() const {
    return staged_ ? staged_->removed : std::vector<InstalledProduct>();
}

std::vector<SkippedDocument> PreparedChange::skipped() const {
    return staged_ ? staged_->skipped : std::vector<SkippedDocument>();
}

void PreparedChange::commit() {
    if (const auto staged = std::exchange(staged_, nullptr))
        staged->journal.commit();
}

} // namespace install::tree
