#include "commands.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/repair.hpp"
#include "json_output.hpp"
#include "output.hpp"
#include "products.hpp"

#include <iostream>
#include <set>

namespace kxtree {

using fl::i18n::utf8_to_ustring;
using install::tree::InstallTree;

namespace {

install::tree::Options options_of(const Request& request) {
    return {.on_wait =
                [](std::int64_t process) {
                    std::cerr << "kxtree: waiting for " << install::tree::describe_process(process)
                              << std::endl;
                },
            .wait_at_most = request.wait_at_most};
}

} // namespace

int remove(const Request& request) {
    InstallTree tree(utf8_to_ustring(request.root), options_of(request));
    const auto listing = tree.list();
    install::tree::Change wanted;
    std::set<std::string> keys; // one may be given with its tag and without
    for (const std::string& operand : request.operands)
        if (const auto [key, is_new] = keys.insert(full_key(listing, operand)); is_new)
            wanted.remove.push_back({*key, request.basecode});
    auto change = tree.prepare(wanted);
    const Removal removal{change.removed(), change.steps(), !request.dry_run};
    if (!request.dry_run)
        change.commit();
    if (request.json)
        std::cout << removal_as_json(removal);
    else
        print_removal(std::cout, removal);
    return ok;
}

int repair(const Request& request) {
    using install::tree::RepairMode;
    const auto mode = request.apply ? RepairMode::apply : RepairMode::dry_run;
    const auto report =
        install::tree::repair(utf8_to_ustring(request.root), mode, options_of(request));
    if (request.json)
        std::cout << repair_as_json(report, request.apply);
    else
        print_repair(std::cout, report, request.apply, Style());
    return ok;
}

} // namespace kxtree
