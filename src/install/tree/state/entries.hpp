// What the members of the shared files mean.

#pragma once

#include "foundation/json/value.hpp"
#include "install/tree/disk/spelling.hpp"
#include "install/tree/install_tree.hpp"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace install::tree {

// Returns the paths in a member of the contents map; nothing if it is not a list of strings.
[[nodiscard]] std::optional<std::vector<std::string>>
paths_in(const foundation::json::Value& value);

// Returns the time in a member of the installed record; nothing if it is not a plausible time, or
// null.
[[nodiscard]] std::optional<InstallTree::Time> time_in(const foundation::json::Value* value);

// Whether the key of a member of the contents map is that of a product, and no foreign one.
[[nodiscard]] bool is_entry_key(const std::string& key);

// Returns the name in appdata of a listed document; nothing if the path is not below the directory
// of the documents.
[[nodiscard]] std::optional<std::string> document_name(const std::string& listed);

// Calls `visit` with the name in appdata of each document that a member of the contents map lists:
// of every path in it, also where it is malformed, or another program's.
template <class Visit>
void for_each_listed_document(const foundation::json::Value& value, const Visit& visit) {
    if (const auto* const path = value.get_if<std::string>()) {
        if (const auto name = document_name(*path))
            visit(*name);
    } else if (const auto* const elements = value.get_if<foundation::json::ValueVector>()) {
        for (const auto& element : *elements)
            for_each_listed_document(element, visit);
    } else if (const auto* const members = value.get_if<foundation::json::ValueMap>()) {
        for (const auto& [key, member] : *members)
            for_each_listed_document(member, visit);
    }
}

// Returns what the names of the documents of an entry with the key `key` begin with.
[[nodiscard]] std::string name_prefix(std::string_view key);

// Whether `name` begins with one of `prefixes`, each of which ends in a space.
[[nodiscard]] bool has_prefix(const std::string& name, const std::set<std::string>& prefixes);

// The documents that the entries of a contents map list.
class ListedDocuments {
public:
    // With `ignores_case`, names are compared as a file system does that ignores it.
    explicit ListedDocuments(bool ignores_case = false) : ignores_case_(ignores_case) {}

    void add(const std::string& key, const foundation::json::Value& value);

    // Whether an entry lists the document, or has the key to which it belongs.
    [[nodiscard]] bool has(const std::string& document) const {
        return names_.contains(ignores_case_ ? in_lower_case(document) : document);
    }
    [[nodiscard]] bool has_product_of(const std::string& document) const {
        return has_prefix(document, prefixes_);
    }

private:
    bool ignores_case_;
    std::set<std::string> names_;    // in appdata, of documents that are there or not
    std::set<std::string> prefixes_; // of the names of all entries' documents
};

} // namespace install::tree
