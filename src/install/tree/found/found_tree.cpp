#include "install/tree/found/found_tree.hpp"

#include "install/tree/found/entries.hpp"
#include "install/tree/found/receipts.hpp"
#include "install/tree_names.hpp"

namespace install::tree {

SharedFiles::SharedFiles(const View& view)
    : contents(view, tree_names::contents_map),
      record(view, tree_names::installed_record),
      receipts(view, tree_names::receipts) {}

Listing SharedFiles::listing() const {
    return {contents_entries(contents.members), record_entries(record.members),
            counting_receipts(receipts.members, record.members)};
}

FoundTree::FoundTree(const View& tree_view) : view(tree_view), shared(view), documents(view) {
    for (const auto& [key, value] : shared.contents.members)
        add_listed(key, value);
}

void FoundTree::add_listed(const std::string& key, const foundation::json::Value& value) {
    if (is_entry_key(key))
        prefixes.insert(name_prefix(key));
    for_each_document(value, [this](const std::string& name) { listed.insert(name); });
}

} // namespace install::tree
