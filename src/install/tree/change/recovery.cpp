#include "install/tree/change/recovery.hpp"

#include "install/tree/change/manifest.hpp"
#include "install/tree/change/rollback.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <string>

namespace install::tree {

namespace {

void take_back(const Directory& appdata, const std::string& undo, Durability durability) {
    const Directory journal = appdata.subdirectory(undo);
    const Manifest manifest = Manifest::read(journal);
    Rollback rollback(appdata, journal, manifest, durability);
    const auto [code, name] = rollback.run();
    require(code, "take back", appdata.path_of(name != nullptr ? *name : undo));
}

} // namespace

Leftover leftover_in(const Directory& appdata) {
    if (appdata.has(std::string(tree_names::undo)))
        return Leftover::taken_back;
    return appdata.has(std::string(tree_names::staging)) ? Leftover::dropped : Leftover::none;
}

Leftover recover(const Directory& appdata, Durability durability) {
    const Leftover leftover = leftover_in(appdata);
    if (leftover == Leftover::none)
        return leftover;
    appdata.remove_tree(std::string(tree_names::staging));
    if (leftover == Leftover::taken_back) {
        take_back(appdata, std::string(tree_names::undo), durability);
        appdata.remove_tree(std::string(tree_names::staging));
    }
    return leftover;
}

} // namespace install::tree
