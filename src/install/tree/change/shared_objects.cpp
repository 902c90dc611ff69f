#include "install/tree/change/shared_objects.hpp"

#include "install/tree/found/shared_file.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree/view.hpp"
#include "install/tree_names.hpp"

#include <string>
#include <utility>

namespace install::tree {

namespace {

// Returns the receipts of a tree. They never stand in the way of a change: damaged ones are kept,
// and what is whole of them goes on, with what the last good version has of the products that are
// there. Nothing is returned for what cannot be read or is no file, which is left alone.
std::optional<SharedObject> open_receipts(const Directory& appdata, SharedObject& contents) {
    const std::string name(tree_names::receipts);
    try {
        return SharedObject(appdata, name);
    } catch (const tree_error&) {
        const View view(appdata);
        SharedFile file(view, name);
        if (file.is(SharedFile::State::unreadable))
            return std::nullopt;
        SharedFile old(view, name + std::string(tree_names::old_suffix));
        for (auto& [key, value] : old.members)
            if (contents.members().contains(key))
                file.members.emplace(key, std::move(value));
        return SharedObject(appdata, name, std::move(file.members));
    }
}

} // namespace

SharedObjects::SharedObjects(const Directory& appdata)
    : contents(appdata, tree_names::contents_map),
      record(appdata, tree_names::installed_record),
      receipts(open_receipts(appdata, contents)) {}

void SharedObjects::put_into(Journal& journal) {
    journal.put(contents.name(), contents.text());
    if (record_changes)
        journal.put(record.name(), record.text());
    if (receipts_change)
        journal.put_own(receipts->name(), receipts->text());
    contents.keep_old(journal);
    if (record_changes)
        record.keep_old(journal);
    if (receipts_change)
        receipts->keep_old(journal);
}

} // namespace install::tree
