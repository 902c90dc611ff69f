#include "install/tree/install_tree.hpp"

#include "install/tree/disk/layout.hpp"
#include "install/tree/journal/recovery.hpp"
#include "install/tree/journal/view.hpp"
#include "install/tree/staged_change.hpp"
#include "install/tree/state/found_tree.hpp"
#include "install/tree/tree_error.hpp"

#include <utility>

namespace install::tree {

InstallTree::InstallTree(ustring installRoot, Options options)
    : root_(std::move(installRoot)),
      options_(std::move(options)) {
    static_cast<void>(Layout(root_)); // throws now rather than later
}

PreparedChange InstallTree::prepare(const Change& change) {
    if (!change.write.empty() || !change.remove.empty())
        return PreparedChange(prepare_change(Layout(root_), options_, change));
    static_cast<void>(recover());
    return PreparedChange(nullptr);
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
    return read_committed(appdata, [](const View& view) {
        if (view.fault())
            throw tree_error(*view.fault());
        const FoundTree tree(view);
        tree.contents.require_object();
        tree.record.require_object();
        return tree.listing();
    });
}

std::optional<Recovery> InstallTree::recover() {
    auto appdata = open_tree_if_any(Layout(root_));
    if (!appdata || find_remains(*appdata) == Remains::none)
        return std::nullopt;
    return LockedTree(std::move(*appdata), options_).recovery;
}

PreparedChange::PreparedChange(std::unique_ptr<StagedChange> staged) noexcept
    : staged_(std::move(staged)) {}
PreparedChange::PreparedChange(PreparedChange&& other) noexcept = default;
PreparedChange& PreparedChange::operator=(PreparedChange&& other) noexcept = default;
PreparedChange::~PreparedChange() = default;

std::vector<ChangeStep> PreparedChange::steps() const {
    return staged_ ? staged_->journal.steps() : std::vector<ChangeStep>();
}

std::vector<InstalledProduct> PreparedChange::removed() const {
    return staged_ ? staged_->removed : std::vector<InstalledProduct>();
}

void PreparedChange::commit() {
    if (const auto staged = std::exchange(staged_, nullptr))
        staged->journal.commit();
}

} // namespace install::tree
