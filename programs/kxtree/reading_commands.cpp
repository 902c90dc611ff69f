#include "commands.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/tree/health.hpp"
#include "install/tree/install_tree.hpp"
#include "json_output.hpp"
#include "output.hpp"
#include "owners.hpp"
#include "products.hpp"
#include "progress_line.hpp"

#include <algorithm>
#include <iostream>

namespace kxtree {

using fl::i18n::utf8_to_ustring;
using install::tree::InstallTree;

namespace {

install::tree::Listing listing_of(const Request& request) {
    return InstallTree(utf8_to_ustring(request.root)).list();
}

install::tree::Health health_of(const Request& request) {
    ProgressLine line; // erased before anything else is printed
    return install::tree::inspect(
        utf8_to_ustring(request.root),
        {.contents = request.contents,
         .on_progress = [&](std::size_t done, std::size_t total) { line.show(done, total); }});
}

} // namespace

int list(const Request& request) {
    const auto listing = listing_of(request);
    if (request.json)
        std::cout << listing_as_json(listing);
    else
        print_listing(std::cout, listing);
    return ok;
}

int files(const Request& request) {
    const std::string key = full_key(listing_of(request), request.operands.front());
    const auto documents = install::tree::documents_of(utf8_to_ustring(request.root), key);
    if (request.json)
        std::cout << documents_as_json(key, documents);
    else
        print_documents(std::cout, documents);
    const bool faulty = std::any_of(documents.begin(), documents.end(),
                                    [](const auto& document) { return document.fault; });
    return faulty ? problems : ok;
}

int owner(const Request& request) {
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
    return all_owned ? ok : problems;
}

int check(const Request& request) {
    const auto health = health_of(request);
    if (request.json)
        std::cout << health_as_json(health);
    else
        print_health(std::cout, health, Style());
    return health.problems.empty() ? ok : problems;
}

} // namespace kxtree
