#include "advice.hpp"

#include "install/tree/printable_text.hpp"
#include "install/tree_names.hpp"
#include "keys.hpp"
#include "owners.hpp"
#include "shell_text.hpp"

#include <cstddef>
#include <set>

namespace kxtree {

using install::tree::Fault;
using install::tree::printable_text;
using Kind = Fault::Kind;

namespace {

// Whether a product that is written again is what it ought to be.
bool is_of_products(Kind kind) {
    switch (kind) {
    case Kind::missing:
    case Kind::empty:
    case Kind::different:
    case Kind::no_list:
    case Kind::outside:
    case Kind::other_key:
        return true;
    default:
        return false;
    }
}

// What a person has to do where no product can be named.
std::string action_on(const Fault& fault, const Root& root) {
    const std::string path = root.as_given(fault.path);
    const std::string file = printable_text(path);
    switch (fault.kind) {
    case Kind::no_time:
        return "let the installer write the product with this basecode again: " + fault.text;
    case Kind::missing:
        return "let the installer write all products of this tree again, as there is no " + file;
    case Kind::not_regular:
        return "move away what is in the place of " + file;
    case Kind::unreadable:
        return "see why it cannot be read: ls -ld " + shell_word(path);
    case Kind::not_listed:
        return "delete it if nobody needs it, as it is not a document: rm -- " + shell_word(path);
    case Kind::not_utf8:
        return "convert it to UTF-8, for instance with iconv: " + file;
    default:
        return "look at " + file;
    }
}

std::string joined(const std::vector<std::string>& texts) {
    std::string line;
    for (const std::string& text : texts)
        line += (line.empty() ? "" : ", ") + printable_text(text);
    return line;
}

std::string action_on_unlisted(std::size_t count, const std::string& root) {
    return std::string("let the installer write the product") +
           (count == 1 ? " of this document" : "s of these documents") +
           " again, or remove all that no entry lists: " + command_line("prune", root);
}

std::string action_on_products(const std::vector<std::string>& keys, const std::string& root) {
    const bool is_one = keys.size() == 1;
    return std::string("let the installer write ") + (is_one ? "this product" : "these products") +
           " again: " + joined(keys) + ", or remove " + (is_one ? "it" : "them") + ": " +
           command_line("remove", root, keys);
}

} // namespace

Advice advice_on(const install::tree::RepairReport& report, const Root& root,
                 const std::string& root_argument) {
    const Owners owners(root.path(), report.listing);
    std::set<std::string> products;
    std::size_t unlisted = 0; // documents, which a prune would remove
    Advice advice;
    for (const Fault& fault : report.remaining) {
        auto keys = fault.product.empty() ? owners.of(fault.path) : std::vector{fault.product};
        if (is_of_products(fault.kind) && !keys.empty())
            products.insert(keys.begin(), keys.end());
        else if (fault.kind == Kind::not_listed &&
                 fault.path.ends_with(install::tree_names::document_suffix))
            ++unlisted;
        else
            advice.actions.push_back(action_on(fault, root));
    }
    if (unlisted > 0)
        advice.actions.push_back(action_on_unlisted(unlisted, root_argument));
    advice.products.assign(products.begin(), products.end());
    std::vector<std::string> short_keys;
    short_keys.reserve(products.size());
    for (const std::string& key : products)
        short_keys.push_back(short_key(report.listing, key));
    if (!products.empty())
        advice.actions.insert(advice.actions.begin(),
                              action_on_products(short_keys, root_argument));
    return advice;
}

} // namespace kxtree
