#include "owners.hpp"

#include "install/tree_names.hpp"

#include <algorithm>
#include <system_error>

namespace kxtree {

namespace fs = std::filesystem;

namespace {

// A path that no file can have is nobody's, and no failure: both return an empty path for it.
fs::path absolute_path(const fs::path& path) {
    std::error_code code;
    return fs::absolute(path, code);
}

fs::path canonical_path(const fs::path& path) {
    std::error_code code;
    return fs::weakly_canonical(path, code);
}

bool is_below(const fs::path& relative) {
    return !relative.empty() && *relative.begin() != "..";
}

// The contents map has paths with a separator at their beginning, and without.
fs::path as_listed(const fs::path& path) {
    return path.relative_path().lexically_normal();
}

} // namespace

Owners::Owners(const std::string& root, const install::tree::Listing& listing) {
    for (const auto& entry : listing.contents)
        for (const std::string& path : entry.paths) {
            auto& keys = keys_[as_listed(path)];
            if (keys.empty() || keys.back() != entry.key) // an entry may list a document twice
                keys.push_back(entry.key);
        }
    const Path folder = absolute_path(root.empty() ? "." : root);
    places_.emplace_back(folder.lexically_normal(), "");
    namespace names = install::tree_names;
    for (const std::string& name : {std::string(), std::string(names::appdata),
                                    names::join(names::appdata, names::documents)})
        places_.emplace_back(canonical_path(folder / name), name);
}

std::vector<std::string> Owners::of(const std::string& path) const {
    for (const Path& name : names_in_tree(path))
        if (const auto found = keys_.find(name); found != keys_.end())
            return found->second;
    return {};
}

// Not through a link in the place of the document itself, which a product does not follow either.
std::vector<fs::path> Owners::names_in_tree(const Path& path) const {
    const Path file = absolute_path(path);
    std::vector<Path> names;
    for (const Path& place : {file, canonical_path(file.parent_path()) / file.filename()})
        for (const auto& [folder, name] : places_) {
            const Path relative = place.lexically_normal().lexically_relative(folder);
            if (is_below(relative))
                names.push_back((name / relative).lexically_normal());
        }
    names.push_back(as_listed(path));
    return names;
}

} // namespace kxtree
