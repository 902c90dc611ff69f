#include "install/tree/disk/spelling.hpp"

#include "install/tree/report/texts.hpp"
#include "install/tree/tree_error.hpp"

#include <algorithm>

namespace install::tree {

namespace {

std::string leaf_of(const std::string& name) {
    return name.substr(name.rfind('/') + 1);
}

bool is_letter(char byte) {
    const char lower = static_cast<char>(byte | 0x20);
    return lower >= 'a' && lower <= 'z';
}

} // namespace

bool ignores_case(const Directory& directory, const std::string& name) {
    std::string other = name;
    std::for_each(other.end() - std::ptrdiff_t(leaf_of(name).size()), other.end(), [](char& byte) {
        byte = static_cast<char>(is_letter(byte) ? byte ^ 0x20 : byte);
    });
    return other != name && directory.status_or_nothing(name).is_there() &&
           directory.status_or_nothing(other).is_there();
}

std::string in_lower_case(std::string name) {
    for (char& byte : name)
        byte = static_cast<char>(is_letter(byte) ? byte | 0x20 : byte);
    return name;
}

bool Spelling::is_other(const std::string& name) {
    if (!ignores_case_)
        ignores_case_ = ignores_case(directory_, name);
    for (std::string path = name; *ignores_case_ && !parent_of(path).empty();
         path = parent_of(path))
        if (!names_in(parent_of(path)).contains(leaf_of(path)))
            return true;
    return false;
}

const std::set<std::string>& Spelling::names_in(const std::string& folder) {
    const auto [names, is_new] = names_.try_emplace(folder);
    if (is_new)
        for (Directory::Entry& entry : directory_.entries(folder))
            names->second.insert(std::move(entry.name));
    return names->second;
}

void Spelling::refuse(const Directory& directory, const std::string& name) {
    const FileStatus found = directory.status(name);
    const std::string spelling = in_lower_case(leaf_of(name));
    std::string other = "another spelling of it";
    const std::string folder = parent_of(name) + '/';
    for (const Directory::Entry& entry : directory.entries(parent_of(name)))
        // Some file systems number a file anew each time that it is looked up.
        if (in_lower_case(entry.name) == spelling ||
            directory.status(folder + entry.name).is_same_file(found))
            other = in_quotes(entry.name);
    throw tree_error("write", directory.path_of(name),
                     "This file system does not distinguish the name from " + other + '.');
}

} // namespace install::tree
