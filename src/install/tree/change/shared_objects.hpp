// The files that all products share, during a change.

#pragma once

#include "install/tree/change/journal.hpp"
#include "install/tree/change/shared_object.hpp"
#include "install/tree/file_system.hpp"

#include <optional>

namespace install::tree {

struct SharedObjects {
    // Reads them. Throws tree_error, but not because of the receipts, which never stand in the way
    // of a change.
    explicit SharedObjects(const Directory& appdata);

    // Makes the objects the contents of their files. Leaves them without members. Throws
    // tree_error.
    void put_into(Journal& journal);

    SharedObject contents; // which every change changes
    SharedObject record;
    std::optional<SharedObject> receipts; // nothing if there can be none
    bool record_changes = false;
    bool receipts_change = false;
};

} // namespace install::tree
