#include "install/tree/install_tree.hpp"

#include "install/tree/change/change.hpp"
#include "install/tree/change/locked_tree.hpp"
#include "install/tree/found/found_tree.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/tree_error.hpp"

#include <utility>

namespace install::tree {

InstallTree::InstallTree(ustring installRoot) : root_(std::move(installRoot)) {
    static_cast<void>(Layout(root_)); // throws now rather than later
}

void InstallTree::on_wait(std::function<void(std::int64_t process)> observer) {
    on_wait_ = std::move(observer);
}

void InstallTree::write(const std::vector<ProductSelection>& selections) {
    const Layout layout(root_);
    reporting_exhausted_memory(layout.appdata, [&] {
        if (selections.empty())
            static_cast<void>(recover_tree(layout, on_wait_));
        else
            write_products(layout, on_wait_, selections);
    });
}

void InstallTree::remove(const std::vector<InstalledProduct>& products) {
    const Layout layout(root_);
    reporting_exhausted_memory(layout.appdata, [&] {
        if (products.empty())
            static_cast<void>(recover_tree(layout, on_wait_));
        else
            remove_products(layout, on_wait_, products);
    });
}

Listing InstallTree::list() const {
    const SharedFiles shared(open_tree(Layout(root_)));
    for (const SharedFile* const file : {&shared.contents, &shared.record}) {
        file->require_readable();
        if (file->is_damaged())
            throw tree_error("read", file->path, file->diagnosis.text);
    }
    return shared.listing();
}

bool InstallTree::recover() {
    const Layout layout(root_);
    return reporting_exhausted_memory(layout.appdata,
                                      [&] { return recover_tree(layout, on_wait_); });
}

} // namespace install::tree
