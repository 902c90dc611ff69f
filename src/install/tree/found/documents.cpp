#include "install/tree/found/documents.hpp"

#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace install::tree {

namespace {

using Kind = Fault::Kind;

// Names with as many separators are nobody's, and to open a folder takes as many calls.
constexpr std::ptrdiff_t max_folder_depth = 128;

// Calls `look`, and adds what it cannot look at to the faults.
template <class Look>
void note_failure(std::vector<Fault>& faults, const Look& look) {
    try {
        look();
    } catch (const tree_error& error) {
        faults.push_back({Kind::unreadable, error.path(), error.what()});
    }
}

// Adds what is at `name` in `folder` to `documents`, or to the folders that are still to be looked
// into. Both are named from the directory of the documents.
void look_at(const Directory& folder, const std::string& name, std::string full_name,
             Documents& documents, std::vector<std::string>& folders) {
    const auto status = folder.link_status(name);
    if (!status) // removed meanwhile
        return;
    if (status->type == FileStatus::Type::regular)
        documents.sizes.emplace(tree_names::join(tree_names::documents, full_name), status->size);
    else if (status->type == FileStatus::Type::directory &&
             std::count(full_name.begin(), full_name.end(), '/') < max_folder_depth)
        folders.push_back(std::move(full_name));
    else if (status->type == FileStatus::Type::directory)
        documents.faults.push_back({Kind::unreadable, folder.path_of(name),
                                    "This folder is nested too deeply to be looked into."});
    else
        documents.faults.push_back(
            {Kind::not_regular, folder.path_of(name), "This is not a regular file."});
}

} // namespace

Documents::Documents(const Directory& appdata) {
    note_failure(faults, [&] {
        const std::string top_name(tree_names::documents);
        if (!appdata.status(top_name))
            return;
        const Directory top = appdata.followed_subdirectory(top_name);
        // One folder at a time, so that a deep tree takes neither stack nor open files.
        std::vector<std::string> folders = {""};
        for (std::size_t index = 0; index < folders.size(); ++index)
            note_failure(faults, [&] {
                const std::string prefix = index == 0 ? "" : folders[index] + '/';
                const Directory folder = top.subdirectory(folders[index]);
                for (const std::string& name : folder.names())
                    note_failure(faults,
                                 [&] { look_at(folder, name, prefix + name, *this, folders); });
            });
    });
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

} // namespace install::tree
