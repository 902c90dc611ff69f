#include "install/tree/state/found_tree.hpp"

#include "install/tree/state/entries.hpp"
#include "install/tree/state/receipts.hpp"
#include "install/tree_names.hpp"

#include <algorithm>

namespace install::tree {

FoundTree::FoundTree(const View& tree_view)
    : view(tree_view),
      contents(view, tree_names::contents_map),
      record(view, tree_names::installed_record),
      receipts(view, tree_names::receipts) {}

Listing FoundTree::listing() const {
    return {contents_entries(contents.members()), record_entries(record.members()),
            current_receipts(receipts.members(), record.members())};
}

bool FoundTree::are_swapped() const {
    const auto is_time = [](const auto& member) { return time_in(member.second).has_value(); };
    const auto is_list = [](const auto& member) {
        return is_entry_key(member.first) && paths_in(member.second);
    };
    return !contents.members().empty() && !record.members().empty() &&
           std::ranges::all_of(contents.members(), is_time) &&
           std::ranges::all_of(record.members(), is_list);
}

void FoundTree::put_into(Journal& journal) {
    for (SharedFile* const file : {&contents, &record, &receipts})
        if (file->is_edited())
            file->put_text(journal);
    for (const SharedFile* const file : {&contents, &record, &receipts})
        if (file->is_edited())
            file->keep_old(journal);
}

} // namespace install::tree
