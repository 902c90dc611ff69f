#include "commands.hpp"

#include "install/tree/install_tree.hpp"
#include "install/tree/prune.hpp"
#include "install/tree/repair.hpp"
#include "interruption.hpp"
#include "json_output.hpp"
#include "keys.hpp"
#include "output.hpp"
#include "removal.hpp"
#include "root.hpp"

#include <iostream>
#include <memory>
#include <set>
#include <sstream>

namespace kxtree {

using install::tree::InstallTree;
using install::tree::RepairMode;

namespace {

// Called again and again while a change waits; a person wants to know it once.
auto waiting_line() {
    return [last = std::optional<std::int64_t>()](std::int64_t process) mutable {
        require_no_interruption();
        if (last != process)
            std::cerr << "kxtree: waiting for " << install::tree::describe_process(process)
                      << std::endl;
        last = process;
    };
}

install::tree::Options options_of(const Request& request) {
    return {.on_wait = waiting_line(),
            .on_progress = [](const auto& /*progress*/) { require_no_interruption(); },
            .wait_at_most = request.wait_at_most,
            .only_mount = request.only_mount};
}

std::vector<install::tree::InstalledProduct>
requested_products(const Request& request, const Root& root,
                   const install::tree::Listing& listing) {
    const Keys keys(root, listing, request.root);
    std::set<std::string> found; // one may be given with its tag and without
    std::vector<install::tree::InstalledProduct> products;
    for (const std::string& operand : request.operands)
        if (const auto [key, is_new] = found.insert(keys.find(operand)); is_new)
            products.push_back({*key, request.basecode});
    return products;
}

std::string text_of(const Removal& removal, bool as_json) {
    std::ostringstream text;
    print_removal(text, removal);
    return as_json ? removal_as_json(removal) : text.str();
}

void prepare_for_change() {
    note_interruptions();
    ignore_broken_pipes();
}

} // namespace

Result remove(const Request& request) {
    if (!request.dry_run)
        prepare_for_change();
    const Root root(request.root);
    InstallTree tree(root.name(), options_of(request));
    const auto listing = tree.list();
    const auto products = requested_products(request, root, listing);
    if (request.dry_run) {
        std::cout << text_of(expected_removal(root, listing, products), request.json);
        return {ok};
    }
    auto change = tree.prepare({.remove = products});
    const std::string text = text_of(removal_of(change), request.json); // before it is too late
    change.commit();
    std::cout << text;
    return {ok, true};
}

Result prune(const Request& request) {
    if (!request.dry_run)
        prepare_for_change();
    const Root root(request.root);
    const auto report =
        install::tree::prune(root.name(), request.dry_run ? RepairMode::dry_run : RepairMode::apply,
                             options_of(request));
    const bool has_changed = !request.dry_run && !report.documents.empty();
    if (request.json)
        std::cout << prune_as_json(report, has_changed);
    else
        print_prune(std::cout, report, has_changed, Style());
    return {ok, has_changed};
}

Result repair(const Request& request) {
    if (request.apply)
        prepare_for_change();
    const Root root(request.root);
    RepairResult result{.root_argument = request.root, .is_applied = request.apply};
    result.report = install::tree::repair(
        root.name(), request.apply ? RepairMode::apply : RepairMode::dry_run, options_of(request));
    result.advice = advice_on(result.report, root, request.root);
    if (request.json)
        std::cout << repair_as_json(result);
    else
        print_repair(std::cout, result, Style());
    return {result.report.remaining.empty() ? ok : problems,
            request.apply && !result.report.steps.empty()};
}

} // namespace kxtree
