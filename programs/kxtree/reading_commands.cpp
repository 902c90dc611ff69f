#include "commands.hpp"

#include "failure.hpp"
#include "install/tree/health.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree_names.hpp"
#include "interruption.hpp"
#include "inventory.hpp"
#include "json_output.hpp"
#include "keys.hpp"
#include "output.hpp"
#include "output_file.hpp"
#include "owners.hpp"
#include "products.hpp"
#include "progress_line.hpp"
#include "root.hpp"
#include "shell_text.hpp"

#include <algorithm>
#include <iostream>

namespace kxtree {

using install::tree::Fault;
using install::tree::InstallTree;

namespace {

install::tree::Listing listing_of(const Request& request) {
    return InstallTree(Root(request.root).name()).list();
}

// Only the comparison of texts takes long enough to be interrupted.
install::tree::Health health_of(const Request& request) {
    if (request.contents)
        note_interruptions();
    ProgressLine line; // erased before anything else is printed
    return install::tree::inspect(
        Root(request.root).name(),
        {.contents = request.contents, .on_progress = [&](std::size_t done, std::size_t total) {
             require_no_interruption();
             line.show(done, total);
         }});
}

// What lacks products without saying so is no inventory.
std::string inventory_of(const Request& request, const install::tree::Health& health,
                         const Edition& edition) {
    const Root root(request.root);
    const std::string contents_map = root.path_of(install::tree_names::contents_map);
    const auto hides_products = [&](const Fault& fault) {
        return fault.path == contents_map && fault.product.empty() &&
               fault.kind != Fault::Kind::not_utf8;
    };
    if (!health.is_complete || std::ranges::any_of(health.problems, hides_products))
        throw Failure("some of the tree is missing or could not be read",
                      "to see what helps, run: " + command_line("repair", request.root));
    return inventory_as_json(root, health, request.contents, edition);
}

} // namespace

Result list(const Request& request) {
    const auto listing = listing_of(request);
    if (request.json)
        std::cout << listing_as_json(listing);
    else if (request.keys)
        print_keys(std::cout, listing);
    else
        print_listing(std::cout, listing);
    return {ok};
}

Result files(const Request& request) {
    const Root root(request.root);
    const auto listing = InstallTree(root.name()).list();
    const Keys keys(root, listing, request.root);
    const std::string key = keys.find(request.operands.front());
    if (!keys.is_list(key))
        throw Failure("the entry \"" + install::tree::printable_text(key) +
                          "\" is not a list of documents",
                      "to see what helps, run: " + command_line("repair", request.root));
    const auto documents = install::tree::documents_of(root.name(), key);
    if (request.json)
        std::cout << documents_as_json(key, documents);
    else
        print_documents(std::cout, documents);
    const bool faulty = std::any_of(documents.begin(), documents.end(),
                                    [](const auto& document) { return document.fault; });
    return {faulty ? problems : ok};
}

Result owner(const Request& request) {
    const Owners owners(request.root, listing_of(request));
    std::vector<OwnedPath> found;
    for (const std::string& path : request.operands)
        found.push_back({path, owners.of(path)});
    if (request.json)
        std::cout << owners_as_json(found);
    else
        print_owners(std::cout, found);
    const bool all_owned = std::none_of(found.begin(), found.end(),
                                        [](const auto& path) { return path.keys.empty(); });
    return {all_owned ? ok : problems};
}

Result check(const Request& request) {
    const auto health = health_of(request);
    if (request.json)
        std::cout << health_as_json(health);
    else
        print_health(std::cout, health, request.root, Style());
    return {!health.is_complete ? failed : health.problems.empty() ? ok : problems};
}

Result sbom(const Request& request) {
    const Edition edition = next_edition();
    const auto health = health_of(request);
    if (!health.problems.empty())
        static_cast<void>(listing_of(request)); // throws where a shared file cannot be read
    print_problems(std::cerr, health);
    const std::string text = inventory_of(request, health, edition);
    if (request.output) {
        note_interruptions(); // from here to the end takes no time
        write_file(*request.output, text);
    } else {
        std::cout << text;
    }
    return {health.problems.empty() ? ok : problems};
}

} // namespace kxtree
