#include "install/tree/install_tree.hpp"

#include "install/tree/change/change.hpp"
#include "install/tree/exhausted_memory.hpp"
#include "install/tree/found/found_tree.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree/view.hpp"

#include <utility>

namespace install::tree {

InstallTree::InstallTree(ustring installRoot, Options options)
    : root_(std::move(installRoot)),
      options_(std::move(options)) {
    static_cast<void>(Layout(root_)); // throws now rather than later
}

PreparedChange InstallTree::prepare(const Change& change) {
    const Layout layout(root_);
    return reporting_exhausted_memory("change", layout.appdata, [&] {
        if (!change.write.empty() || !change.remove.empty())
            return PreparedChange(prepare_change(layout, options_, change));
        static_cast<void>(recover_tree(layout, options_));
        return PreparedChange(nullptr);
    });
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
    const Layout layout(root_);
    return reporting_exhausted_memory("read", layout.appdata, [&] {
        const Directory appdata = open_tree(layout);
        return read_committed(appdata, [](const View& view) {
            if (view.fault())
                throw tree_error(*view.fault());
            const SharedFiles shared(view);
            shared.contents.require_object();
            shared.record.require_object();
            return shared.listing();
        });
    });
}

bool InstallTree::recover() {
    const Layout layout(root_);
    return reporting_exhausted_memory("change", layout.appdata,
                                      [&] { return recover_tree(layout, options_); });
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
        reporting_exhausted_memory("change", staged->tree.appdata.path_of(""),
                                   [&] { staged->journal.commit(); });
}

} // namespace install::tree
