// Where an install tree is. All names are in the encoding of the file system.

#pragma once

#include "fl/filesystem/native_access.hpp"
#include "fl/filesystem/path.hpp"
#include "install/tree/disk/directory.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"
#include "install/ustring.hpp"

#include <optional>
#include <string>
#include <utility>

namespace install::tree {

struct Layout {
    // Throws what readFile throws for a path that no file can have.
    explicit Layout(const ustring& installRoot)
        : root(installRoot),
          appdata(fl::filesystem::detail::make_native_access_form_with_cleanup_i18n(
              fl::filesystem::path(root)
                  .append_element(tree_names::utf16(tree_names::appdata))
                  .text())) {}

    ustring root;
    std::string appdata; // the path of the directory of the tree's files
};

// Opens appdata; returns nothing if it does not exist.
[[nodiscard]] inline std::optional<Directory> open_tree_if_any(const Layout& layout) {
    return Directory::open(layout.appdata, tree_names::documents);
}

// Opens appdata, which is created if it does not exist and `is_created` is true. Throws tree_error
// if there is none.
[[nodiscard]] inline Directory open_tree(const Layout& layout, bool is_created = false) {
    if (is_created)
        Directory::create(layout.appdata);
    if (auto appdata = Directory::open(layout.appdata, tree_names::documents))
        return std::move(*appdata);
    throw tree_error("open", layout.appdata, "There is no install tree.");
}

} // namespace install::tree
