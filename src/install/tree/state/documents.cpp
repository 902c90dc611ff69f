#include "install/tree/state/documents.hpp"

#include "install/tree/report/texts.hpp"
#include "install/tree/state/entries.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace install::tree {

namespace {

using Kind = Fault::Kind;
using Type = FileStatus::Type;
using tree_names::join;

// Names with as many separators are nobody's, and to open a folder takes as many calls.
constexpr std::ptrdiff_t max_folder_depth = 128;

constexpr std::uint32_t all_readers = 0444;

// A folder below the directory of the documents.
struct Folder {
    std::string name;      // in appdata
    std::uint32_t readers; // those who may look for files in it, by their permission to read
};

// Calls `visit` with what is below the directory of the documents and no folder: the open folder,
// what is known of it, and the name in it; and `fail` with what could not be looked at. Looks into
// the folders for which `is_of_interest` returns true, one at a time, so that a deep tree takes
// neither stack nor open files.
template <class Interest, class Visit, class Fail>
void for_each_file_below(const Directory& appdata, const Interest& is_of_interest,
                         const Visit& visit, const Fail& fail) {
    std::vector<Folder> folders = {{tree_names::documents, all_readers}};
    for (std::size_t index = 0; index < folders.size(); ++index)
        try {
            Folder found = folders[index];
            if (index == 0 && !appdata.has(found.name))
                return;
            const Directory folder = appdata.subdirectory(found.name);
            if (std::count(found.name.begin(), found.name.end(), '/') > max_folder_depth)
                throw tree_error("open", folder.path_of(""),
                                 "This folder is nested too deeply to be looked into.");
            found.readers &= folder.status(".").permissions << 2U; // from searching to reading
            for (const Directory::Entry& entry : folder.entries())
                if (!entry.is_folder)
                    visit(folder, found, entry.name);
                else if (is_of_interest(join(found.name, entry.name)))
                    folders.push_back({join(found.name, entry.name), found.readers});
        } catch (const tree_error& error) {
            fail(error);
        }
}

std::string in_bytes(std::uint64_t size) {
    return std::to_string(size) + (size == 1 ? " byte" : " bytes");
}

} // namespace

Documents::Documents(const View& view) {
    const auto note = [&](const tree_error& error) {
        faults.push_back({Kind::unreadable, error.path(), error.what()});
        if (!failure && error.code())
            failure = error;
    };
    const auto add = [&](const auto& directory, const std::string& file, const std::string& name,
                         std::uint32_t readers) {
        try {
            const FileStatus status = directory.status(file);
            if (status.type == Type::regular)
                files.emplace(name, File{status.size, status.permissions & readers});
            else if (status.type != Type::nothing) // removed meanwhile
                faults.push_back({Kind::not_regular, directory.path_of(file), not_regular_text});
        } catch (const tree_error& error) {
            note(error);
        }
    };
    for_each_file_below(
        view.appdata(), [](const std::string& /*folder*/) { return true; },
        [&](const Directory& folder, const Folder& found, const std::string& name) {
            add(folder, name, join(found.name, name), found.readers);
        },
        note);
    view.for_each_changed([&](const std::string& name, bool was_there) {
        files.erase(name);
        if (was_there && name.starts_with(join(tree_names::documents, "")))
            add(view, name, name, all_readers);
    });
}

std::vector<std::string> find_documents(const Directory& appdata,
                                        const std::set<std::string>& prefixes) {
    std::vector<std::string> names;
    for_each_file_below(
        appdata,
        [&](const std::string& folder) {
            const auto next = prefixes.lower_bound(folder + '/');
            return (next != prefixes.end() && next->starts_with(folder + '/')) ||
                   has_prefix(folder, prefixes);
        },
        [&](const Directory& /*folder*/, const Folder& folder, const std::string& leaf) {
            // A longer prefix may be that of another product, as a tag has no space.
            std::string name = join(folder.name, leaf);
            if (name.ends_with(tree_names::document_suffix) &&
                prefixes.contains(name.substr(0, name.rfind(' ') + 1)))
                names.push_back(std::move(name));
        },
        [](const tree_error& error) { throw tree_error(error); });
    return names;
}

std::optional<Fault> fault_of_document(const View& view, const std::string& name,
                                       const FileRecord* expected, Comparison comparison,
                                       std::optional<std::uint64_t> known_size) {
    const auto fault = [&](Kind kind, std::string text) {
        return Fault{kind, view.path_of(name), std::move(text)};
    };
    try {
        if (!known_size) {
            const FileStatus status = view.status(name);
            if (!status.is_there())
                return fault(Kind::missing, "The document is missing.");
            if (status.type != Type::regular)
                return fault(Kind::not_regular, not_regular_text);
            known_size = status.size;
        }
        if (expected == nullptr)
            return std::nullopt;
        const auto wanted = [&] {
            return "; it had " + in_bytes(expected->size) + " when it was written.";
        };
        if (*known_size == 0 && expected->size > 0)
            return fault(Kind::empty, "The document is empty" + wanted());
        if (*known_size != expected->size)
            return fault(Kind::different, "The document has " + in_bytes(*known_size) + wanted());
        if (comparison == Comparison::size || view.matches(name, *expected))
            return std::nullopt;
        return fault(Kind::different, "The document's text differs from what was written.");
    } catch (const tree_error& error) {
        return fault(Kind::unreadable, error.what());
    }
}

} // namespace install::tree
