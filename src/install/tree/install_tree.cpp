#include "install/tree/install_tree.hpp"

#include "install/tree/disk/layout.hpp"
#include "install/tree/journal/recovery.hpp"
#include "install/tree/journal/view.hpp"
#include "install/tree/state/found_tree.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <utility>

namespace install::tree {

InstallTree::InstallTree(ustring installRoot, Options options)
    : root_(std::move(installRoot)),
      options_(std::move(options)) {
    static_cast<void>(Layout(root_)); // throws now rather than later
}

void InstallTree::apply(const Change& change) {
    prepare(change).commit();
}

void InstallTree::write(const std::vector<ProductSelection>& selections) {
    apply({{}, selections});
}

void InstallTree::remove(const std::vector<InstalledProduct>& products) {
    apply({products, {}});
}

Listing InstallTree::list() const {
    const Directory appdata = open_tree(Layout(root_));
    const auto read = [](const View& view) {
        if (view.fault())
            throw tree_error(*view.fault());
        const FoundTree tree(view);
        tree.contents.require_object();
        tree.record.require_object();
        return tree.listing();
    };
    return read_committed(appdata, options_, read,
                          [](const Listing& /*listing*/) { return false; });
}

std::optional<Recovery> InstallTree::recover() {
    auto appdata = Directory::open(Layout(root_).appdata, tree_names::documents);
    if (!appdata || (find_remains(*appdata) == Remains::none && find_set_aside(*appdata).empty()))
        return std::nullopt;
    return LockedTree(std::move(*appdata), options_).recovery;
}

} // namespace install::tree
