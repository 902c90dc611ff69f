#include "keys.hpp"

#include "failure.hpp"
#include "install/tree/health.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree_names.hpp"
#include "nearest.hpp"
#include "shell_text.hpp"

#include <algorithm>
#include <utility>

namespace kxtree {

using install::tree::ContentsEntry;
using install::tree::Fault;
using install::tree::Listing;
using install::tree::printable_text;

namespace {

std::string tag() {
    return " " + std::string(install::tree_names::entry_tag);
}

bool lists(const Listing& listing, const std::string& key) {
    return std::ranges::binary_search(listing.contents, key, {}, &ContentsEntry::key);
}

std::string in_quotes(const std::string& text) {
    return '"' + printable_text(text) + '"';
}

} // namespace

std::string short_key(const Listing& listing, const std::string& key) {
    if (!key.ends_with(tag()))
        return key;
    std::string text = key.substr(0, key.size() - tag().size());
    return lists(listing, text) ? key : text;
}

Keys::Keys(const Root& root, const Listing& listing, std::string root_argument)
    : root_(root),
      listing_(listing),
      root_argument_(std::move(root_argument)) {}

std::string Keys::find(const std::string& text) const {
    for (const std::string& key : {text, text + tag()})
        if (lists(listing_, key))
            return key;
    for (const std::string& key : {text, text + tag()})
        if (is_entry(key))
            return key;
    if (auto keys = keys_of(text); keys.size() == 1)
        return std::move(keys.front());
    throw Failure(text_of_failure(text),
                  "to see all products, run: " + command_line("list", root_argument_));
}

bool Keys::is_list(const std::string& key) const {
    return lists(listing_, key);
}

// The listing has no entries that are no lists, but an inspection reports them.
bool Keys::is_entry(const std::string& key) const {
    if (!no_lists_) {
        no_lists_.emplace();
        for (const Fault& fault : install::tree::inspect(root_.name()).problems)
            if (fault.kind == Fault::Kind::no_list)
                no_lists_->insert(fault.product);
    }
    return lists(listing_, key) || no_lists_->contains(key);
}

std::vector<std::string> Keys::keys_of(std::string_view basecode) const {
    std::vector<std::string> keys;
    for (const auto& receipt : listing_.receipts)
        if (receipt.basecode == basecode && lists(listing_, receipt.key))
            keys.push_back(receipt.key);
    return keys;
}

std::string Keys::text_of_failure(const std::string& text) const {
    if (const auto keys = keys_of(text); keys.size() > 1)
        return in_quotes(text) + " is the basecode of several products, such as " +
               in_quotes(short_key(listing_, keys.front())) + " and " +
               in_quotes(short_key(listing_, keys.back()));
    if (std::ranges::find(listing_.record, text, &install::tree::RecordEntry::basecode) !=
        listing_.record.end())
        return "no receipt says which product has the basecode " + in_quotes(text);
    std::vector<std::string> names;
    for (const ContentsEntry& entry : listing_.contents)
        names.push_back(short_key(listing_, entry.key));
    for (const auto& receipt : listing_.receipts)
        names.push_back(receipt.basecode);
    const auto suggestion = nearest(text, names);
    return "there is no product " + in_quotes(text) +
           (suggestion ? "; did you mean " + in_quotes(*suggestion) + '?' : "");
}

} // namespace kxtree
