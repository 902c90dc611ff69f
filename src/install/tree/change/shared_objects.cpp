#include "install/tree/change/shared_objects.hpp"

#include "install/tree/found/shared_file.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree/view.hpp"
#include "install/tree_names.hpp"

#include <utility>

namespace install::tree {

namespace {

// Returns the receipts of a tree. They never stand in the way of a change: damaged ones are kept,
// and what is whole of them goes on. Nothing is returned for what cannot be read or is no file,
// which is left alone.
std::optional<SharedObject> open_receipts(const Directory& appdata) {
    try {
        return SharedObject(appdata, tree_names::receipts);
    } catch (const tree_error&) {
        SharedFile file(View(appdata), tree_names::receipts);
        if (file.is(SharedFile::State::unreadable))
            return std::nullopt;
        return SharedObject(appdata, tree_names::receipts, std::move(file.members));
    }
}

} // namespace

SharedObjects::SharedObjects(const Directory& appdata)
    : contents(appdata, tree_names::contents_map),
      record(appdata, tree_names::installed_record),
      receipts(open_receipts(appdata)) {}

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
