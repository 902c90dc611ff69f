/// \file
/// The health of an install tree.

#pragma once

#include "fl/export.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/install_tree.hpp"
#include "install/ustring.hpp"

#include <cstddef>
#include <vector>

namespace install::tree {

/// What an inspection found.
struct Health {
    Listing listing;             ///< the entries that could be read
    std::size_t documents = 0;   ///< the number of documents that are listed and there
    std::vector<Fault> problems; ///< what ought to be repaired
    std::vector<Fault> notes;    ///< what is worth knowing, such as documents of a former selection
};

/// Inspects the tree at `installRoot`. Changes nothing, opens regular files alone, and never
/// follows a listed path out of the tree. A file that cannot be read hides none of the other
/// findings. Throws tree_error if the tree's directory `appdata` cannot be opened, and
/// std::bad_alloc.
[[nodiscard]] KX_EXPORT Health inspect(const ustring& installRoot);

} // namespace install::tree
