#include "removal.hpp"

#include "install/tree/health.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"
#include "owners.hpp"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <utility>

namespace kxtree {

using install::tree::Fault;
using install::tree::Health;
using install::tree::InstalledProduct;
using install::tree::Listing;
using install::tree::printable_text;
namespace names = install::tree_names;

namespace {

// Finds what goes with the entries of products.
class Expectation {
public:
    Expectation(const Root& root, const Listing& listing, std::vector<InstalledProduct> products)
        : root_(root),
          listing_(listing),
          owners_(root.path(), listing),
          health_(install::tree::inspect(root.name())),
          products_(std::move(products)) {
        for (const InstalledProduct& product : products_)
            keys_.insert(product.key);
    }

    Removal result() {
        add_basecodes();
        for (const InstalledProduct& product : products_) {
            if (product.basecode)
                require_in_record(*product.basecode);
            add_listed_documents(product.key);
            add_earlier_documents(product.key);
        }
        return {products_, {documents_.begin(), documents_.end()}, false};
    }

private:
    // Those that the receipts name, unless the receipt of a product that stays names them, too.
    void add_basecodes() {
        std::map<std::string, std::string> keys; // by basecodes
        std::set<std::string> needed;
        for (const auto& receipt : listing_.receipts)
            if (keys_.contains(receipt.key))
                keys.emplace(receipt.basecode, receipt.key);
            else
                needed.insert(receipt.basecode);
        for (const auto& [basecode, key] : keys) {
            const auto product = std::ranges::find(products_, key, &InstalledProduct::key);
            if (!needed.contains(basecode) && !product->basecode)
                product->basecode = basecode;
        }
    }

    // Entries without a time are not in the listing; a fault names them.
    void require_in_record(const std::string& basecode) const {
        const std::string quoted = '"' + printable_text(basecode) + '"';
        const bool is_there =
            std::ranges::any_of(listing_.record,
                                [&](const auto& entry) { return entry.basecode == basecode; }) ||
            std::ranges::any_of(health_.problems, [&](const Fault& fault) {
                return fault.kind == Fault::Kind::no_time &&
                       fault.text.find(quoted) != std::string::npos;
            });
        if (!is_there)
            throw install::tree::tree_error("remove " + quoted + " from",
                                            root_.path_of(names::installed_record),
                                            "There is no such entry.");
    }

    void add_listed_documents(const std::string& key) {
        const auto is_entry = [&](const auto& entry) { return entry.key == key; };
        if (std::ranges::none_of(listing_.contents, is_entry))
            return; // it is no list
        for (const auto& document : install::tree::documents_of(root_.name(), key))
            if (is_removable(document) && !is_needed(document.file))
                documents_.insert(document.file);
    }

    static bool is_removable(const install::tree::ListedDocument& document) {
        if (document.file.empty()) // outside of the tree
            return false;
        const auto kind = document.fault ? document.fault->kind : Fault::Kind::different;
        std::error_code code;
        return kind != Fault::Kind::missing &&
               (kind != Fault::Kind::not_regular ||
                std::filesystem::symlink_status(document.file, code).type() !=
                    std::filesystem::file_type::directory);
    }

    [[nodiscard]] bool is_needed(const std::string& file) const {
        return !std::ranges::all_of(
            owners_.of(file), [&](const std::string& owner) { return keys_.contains(owner); });
    }

    // Those of an earlier selection, which no entry lists any more. A tag has no space.
    void add_earlier_documents(const std::string& key) {
        const std::string first =
            root_.path_of(names::join(names::documents, "")) +
            key.substr(0, key.size() - std::min(key.size(), names::entry_tag.size()));
        for (const Fault& note : health_.notes)
            if (note.kind == Fault::Kind::not_listed &&
                note.path.ends_with(names::document_suffix) &&
                note.path.substr(0, note.path.rfind(' ') + 1) == first)
                documents_.insert(note.path);
    }

    const Root& root_;
    const Listing& listing_;
    Owners owners_;
    Health health_;
    std::vector<InstalledProduct> products_;
    std::set<std::string> keys_;
    std::set<std::string> documents_; // paths of files
};

} // namespace

Removal removal_of(const install::tree::PreparedChange& change) {
    Removal removal = {change.removed(), {}, true};
    for (const auto& step : change.steps())
        if (step.kind == install::tree::ChangeStep::Kind::remove)
            removal.documents.push_back(step.path);
    return removal;
}

Removal expected_removal(const Root& root, const Listing& listing,
                         std::vector<InstalledProduct> products) {
    return Expectation(root, listing, std::move(products)).result();
}

} // namespace kxtree
