#include "install/tree/state/found_tree.hpp"

#include "install/tree/state/entries.hpp"
#include "install/tree/state/receipts.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <utility>

namespace install::tree {

FoundTree::FoundTree(const View& tree_view)
    : view(tree_view),
      contents(view, tree_names::contents_map),
      record(view, tree_names::installed_record),
      receipts(view, tree_names::receipts) {}

Listing FoundTree::listing() const {
    Listing listing;
    for (const auto& [key, value] : contents.members())
        if (auto paths = paths_in(value); paths && is_entry_key(key))
            listing.contents.push_back({key, std::move(*paths)});
    for (const auto& [basecode, value] : record.members())
        if (const auto time = time_in(&value))
            listing.record.push_back({basecode, *time});
    listing.receipts = current_receipts(*this);
    return listing;
}

bool FoundTree::are_swapped() const {
    const auto is_time = [](const auto& member) { return time_in(&member.second).has_value(); };
    const auto is_list = [](const auto& member) {
        return is_entry_key(member.first) && paths_in(member.second);
    };
    return !contents.members().empty() && !record.members().empty() &&
           std::ranges::all_of(contents.members(), is_time) &&
           std::ranges::all_of(record.members(), is_list);
}

void FoundTree::expect_edits() noexcept {
    contents.rewrite();
    record.rewrite();
    if (!receipts.is_not_regular()) // which stays as it is
        receipts.rewrite();
}

std::size_t FoundTree::count_files_to_put() const noexcept {
    std::size_t count = 0;
    for (const SharedFile* const file : {&contents, &record, &receipts})
        if (file->is_edited())
            count += file->kept_name().empty() ? 1 : 2;
    return count;
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
