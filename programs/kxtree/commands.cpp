#include "commands.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/tree/health.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/repair.hpp"
#include "json_output.hpp"
#include "output.hpp"

#include <iostream>

namespace kxtree {

using fl::i18n::utf8_to_ustring;
using install::tree::InstallTree;
using install::tree::printable;

namespace {

void print_whom_we_wait_for(std::int64_t process) {
    std::cerr << "kxtree: waiting for "
              << (process == 0 ? "another change" : "process " + std::to_string(process))
              << std::endl;
}

} // namespace

int list(const std::string& root, bool json) {
    const auto listing = InstallTree(utf8_to_ustring(root)).list();
    if (json)
        std::cout << listing_as_json(listing);
    else
        print_listing(std::cout, listing);
    return ok;
}

int check(const std::string& root, bool json) {
    const auto health = install::tree::inspect(utf8_to_ustring(root));
    if (json)
        std::cout << health_as_json(health);
    else
        print_health(std::cout, health, Style());
    return health.problems.empty() ? ok : problems;
}

int remove(const std::string& root, const std::string& key,
           const std::optional<std::string>& basecode) {
    InstallTree tree(utf8_to_ustring(root));
    tree.on_wait(print_whom_we_wait_for);
    tree.remove({{key, basecode}});
    std::cout << "Removed " << printable(key);
    if (basecode)
        std::cout << ", and " << printable(*basecode) << " from the installed record";
    std::cout << ".\n";
    return ok;
}

int repair(const std::string& root, bool apply) {
    using install::tree::RepairMode;
    const auto steps = install::tree::repair(utf8_to_ustring(root),
                                             apply ? RepairMode::apply : RepairMode::dry_run);
    print_steps(std::cout, steps);
    if (steps.empty())
        std::cout << "Nothing to repair.\n";
    else if (!apply)
        std::cout << "Nothing was changed; run it again with --apply.\n";
    return ok;
}

} // namespace kxtree
