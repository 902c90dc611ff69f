// The products that people name.

#pragma once

#include "install/tree/install_tree.hpp"
#include "root.hpp"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kxtree {

/// Returns what a person may write for the key of an entry: the key without its tag, if that means
/// no other entry.
[[nodiscard]] std::string short_key(const install::tree::Listing& listing, const std::string& key);

/// Finds the key of an entry of the contents map.
class Keys {
public:
    /// Keeps references. `root_argument` is the root as it was given.
    Keys(const Root& root, const install::tree::Listing& listing, std::string root_argument);

    /// Returns the key that a person means by `text`: the very key, or the key without its tag, or
    /// the basecode that the receipt of one product alone has. Throws Failure, which suggests
    /// another one, if there is no such product.
    [[nodiscard]] std::string find(const std::string& text) const;

    /// Returns whether the entry `key` is a list of documents.
    [[nodiscard]] bool is_list(const std::string& key) const;

private:
    [[nodiscard]] bool is_entry(const std::string& key) const;
    [[nodiscard]] std::vector<std::string> keys_of(std::string_view basecode) const;
    [[nodiscard]] std::string text_of_failure(const std::string& text) const;

    const Root& root_;
    const install::tree::Listing& listing_;
    std::string root_argument_;
    mutable std::optional<std::set<std::string>> no_lists_; // keys; known once they are needed
};

} // namespace kxtree
