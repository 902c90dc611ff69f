#include "install/tree/state/entries.hpp"

#include "install/tree_names.hpp"

#include <cmath>
#include <filesystem>
#include <string_view>

namespace install::tree {

using foundation::json::Value;
using foundation::json::ValueVector;

std::optional<std::vector<std::string>> paths_in(const Value& value) {
    const auto* const elements = value.get_if<ValueVector>();
    if (elements == nullptr)
        return std::nullopt;
    std::vector<std::string> paths;
    paths.reserve(elements->size());
    for (const Value& element : *elements) {
        const auto* const path = element.get_if<std::string>();
        if (path == nullptr)
            return std::nullopt;
        paths.push_back(*path);
    }
    return paths;
}

std::optional<InstallTree::Time> time_in(const Value* value) {
    const auto* const number = value == nullptr ? nullptr : value->get_if<double>();
    if (number == nullptr || !(std::abs(*number) < 6e13)) // about the years 69 to 3871
        return std::nullopt;
    return InstallTree::Time(std::chrono::milliseconds(static_cast<std::int64_t>(*number)));
}

bool is_entry_key(const std::string& key) {
    return key.ends_with(" " + std::string(tree_names::entry_tag));
}

namespace {

// Returns a listed path relative to the install root, without `.` and `..`; nothing if it leaves
// the root.
std::optional<std::string> path_in_tree(const std::string& listed) {
    if (listed.find('\0') != std::string::npos)
        return std::nullopt;
    std::string_view relative = listed;
    relative.remove_prefix(relative.starts_with('/') ? 1 : 0);
    const bool is_normal = !relative.empty() && relative.front() != '.' &&
                           listed.find("//") == listed.npos && listed.find("/.") == listed.npos;
    if (is_normal) // as nearly all are
        return std::string(relative);
    const auto path = std::filesystem::path(listed).relative_path().lexically_normal();
    if (path.empty() || *path.begin() == ".." || *path.begin() == ".")
        return std::nullopt;
    return path.string();
}

} // namespace

std::optional<std::string> document_name(const std::string& listed) {
    const std::string appdata = tree_names::join(tree_names::appdata, "");
    const std::string documents = tree_names::join(tree_names::documents, "");
    auto path = path_in_tree(listed);
    if (!path || !path->starts_with(appdata))
        return std::nullopt;
    path->erase(0, appdata.size());
    return path->starts_with(documents) && path->size() > documents.size() ? path : std::nullopt;
}

std::string name_prefix(std::string_view key) {
    key.remove_suffix(tree_names::entry_tag.size());
    return tree_names::join(tree_names::documents, key);
}

bool has_prefix(const std::string& name, const std::set<std::string>& prefixes) {
    for (auto space = name.find(' '); space != std::string::npos; space = name.find(' ', space + 1))
        if (prefixes.contains(name.substr(0, space + 1)))
            return true;
    return false;
}

void ListedDocuments::add(const std::string& key, const Value& value) {
    if (is_entry_key(key))
        prefixes_.insert(name_prefix(key));
    for_each_listed_document(value, [this](const std::string& name) {
        names_.insert(ignores_case_ ? in_lower_case(name) : name);
    });
}

} // namespace install::tree
