#include "install/tree/documents.hpp"

#include "install/tree/layout.hpp"
#include "install/tree/tree_error.hpp"

namespace install::tree {

namespace {

using Kind = Fault::Kind;

void find_in(const Directory& folder, const std::string& prefix, Documents& documents);

void find_at(const Directory& folder, const std::string& name, const std::string& prefix,
             Documents& documents) {
    const auto status = folder.link_status(name);
    if (!status) // removed meanwhile
        return;
    if (status->type == FileStatus::Type::regular)
        documents.sizes.emplace(prefix + name, status->size);
    else if (status->type == FileStatus::Type::directory)
        find_in(folder.subdirectory(name), prefix + name + '/', documents);
    else
        documents.faults.push_back(
            {Kind::not_regular, folder.path_of(name), "This is not a regular file."});
}

void find_in(const Directory& folder, const std::string& prefix, Documents& documents) {
    for (const std::string& name : folder.names()) {
        try {
            find_at(folder, name, prefix, documents);
        } catch (const tree_error& error) {
            documents.faults.push_back({Kind::unreadable, error.path(), error.what()});
        }
    }
}

} // namespace

Documents find_documents(const Directory& appdata) {
    Documents documents;
    try {
        if (appdata.status(documents_name))
            find_in(appdata.followed_subdirectory(documents_name),
                    std::string(documents_name) + '/', documents);
    } catch (const tree_error& error) {
        documents.faults.push_back({Kind::unreadable, error.path(), error.what()});
    }
    return documents;
}

std::string name_prefix(std::string_view key) {
    key.remove_suffix(std::string_view(entry_key_tag).size());
    return std::string(documents_name).append("/").append(key);
}

bool has_prefix(const std::string& name, const std::set<std::string>& prefixes) {
    for (auto space = name.find(' '); space != std::string::npos; space = name.find(' ', space + 1))
        if (prefixes.contains(name.substr(0, space + 1)))
            return true;
    return false;
}

} // namespace install::tree
