#include "install/tree/disk/layout.hpp"

#include "fl/filesystem/native_access.hpp"
#include "fl/filesystem/path.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

namespace install::tree {

Layout::Layout(const ustring& installRoot)
    : root(installRoot),
      appdata(fl::filesystem::detail::make_native_access_form_with_cleanup_i18n(
          fl::filesystem::path(installRoot)
              .append_element(tree_names::utf16(tree_names::appdata))
              .text())) {}

std::optional<Directory> open_tree_if_any(const Layout& layout) {
    return Directory::open(layout.appdata, tree_names::documents);
}

Directory open_tree(const Layout& layout) {
    if (auto appdata = open_tree_if_any(layout))
        return std::move(*appdata);
    throw tree_error("open", layout.appdata, "There is no install tree.");
}

Directory create_tree(const Layout& layout) {
    return Directory::create(layout.appdata, tree_names::documents);
}

} // namespace install::tree
