#include "install/tree/change/transaction.hpp"

#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <new>
#include <vector>

namespace install::tree {

namespace {

using tree_names::join;

constexpr const char* staging_name = tree_names::staging.data();
constexpr const char* commit_name = tree_names::commit.data();

// In `.staging` and `.commit`: the new files, in the folders of appdata, and what else is to be
// done.
constexpr const char* files_name = "files";
constexpr const char* manifest_name = "manifest";

// The first line of the manifest says how to read it, and what is to be done with the files.
constexpr std::string_view manifest_version = "kxinstall_tree 1\n";

std::string staged(const std::string& name) {
    return join(join(staging_name, files_name), name);
}

// Whoever can write a manifest must not make another user remove files elsewhere.
bool may_be_removed(const std::string& name) {
    return name.starts_with(join(tree_names::documents, "")) &&
           ('/' + name + '/').find("/../") == std::string::npos;
}

// Returns what the manifest of a committed change says is to be removed.
std::vector<std::string> removals(const Directory& commit) {
    const auto manifest = commit.read(manifest_name);
    if (!manifest || !manifest->starts_with(manifest_version))
        throw tree_error("finish", commit.path_of(""),
                         "It was committed by a version of this library that is not known here.");
    std::vector<std::string> names;
    for (std::size_t begin = manifest_version.size(); begin < manifest->size();) {
        const std::size_t end = manifest->find('\0', begin);
        names.push_back(manifest->substr(begin, end - begin));
        if (end == std::string::npos || !may_be_removed(names.back()))
            throw tree_error("finish", commit.path_of(manifest_name), "The file is damaged.");
        begin = end + 1;
    }
    return names;
}

// Moves everything in `from` to its place below `to`. A folder that does not exist yet moves as a
// whole, which takes no room on a full disk, and no time.
void move_into_place(const Directory& from, const Directory& to) {
    bool changed = false;
    for (const std::string& name : from.names()) {
        const auto status = from.link_status(name);
        const bool is_folder = status && status->type == FileStatus::Type::directory;
        if (is_folder && to.status(name)) {
            move_into_place(from.subdirectory(name), to.followed_subdirectory(name));
            continue;
        }
        from.rename(name, to, name);
        changed = true;
    }
    if (changed)
        to.flush();
}

void remove_files(const Directory& appdata, const std::vector<std::string>& names) {
    std::set<std::string> folders;
    for (const std::string& name : names) {
        appdata.remove_file(name);
        folders.insert(parent_of(name));
    }
    for (const std::string& folder : folders)
        if (appdata.status(folder))
            appdata.followed_subdirectory(folder).flush();
}

// Does what was committed. All of it may have been done before, in part or as a whole.
void finish(const Directory& appdata) {
    const Directory commit = appdata.subdirectory(commit_name);
    const std::vector<std::string> doomed = removals(commit);
    move_into_place(commit.subdirectory(files_name), appdata);
    remove_files(appdata, doomed);
    // The rest is dropped under the other name: a committed change always has its manifest.
    appdata.remove_tree(staging_name);
    appdata.rename(commit_name, appdata, staging_name);
    appdata.flush();
}

tree_error exhausted_memory(const Directory& appdata) {
    return {"finish", appdata.path_of(commit_name),
            std::make_error_code(std::errc::not_enough_memory)};
}

// Runs `finish`, and throws its failure as that of a change that was committed.
template <class Finish>
void after_commit(const tree_error& exhausted, const Finish& finish) {
    try {
        finish();
    } catch (const tree_error& error) {
        throw error.as_committed();
    } catch (const std::bad_alloc&) {
        throw exhausted.as_committed();
    }
}

// What stays of it is dropped by the next change.
void drop_staging(const Directory& appdata) noexcept {
    try {
        appdata.remove_tree(staging_name);
    } catch (const std::exception&) { // the change itself is complete, or has failed already
    }
}

} // namespace

Transaction::Transaction(const Directory& appdata) : appdata_(appdata) {
    appdata.require_writable("");
    appdata.make_directory(staging_name);
    device_ = appdata.status(staging_name).value().device;
    usable_directories_.insert("");
}

Transaction::~Transaction() {
    if (!committed_)
        drop_staging(appdata_);
}

// Whether files can be renamed into the directory `name`, which may still have to be created.
void Transaction::require_directory(const std::string& name) {
    if (usable_directories_.contains(name))
        return;
    require_directory(parent_of(name));
    if (const auto status = appdata_.status(name)) {
        if (status->type != FileStatus::Type::directory)
            throw tree_error("write to", appdata_.path_of(name),
                             std::make_error_code(std::errc::not_a_directory));
        if (status->device != device_)
            throw tree_error("write to", appdata_.path_of(name),
                             std::make_error_code(std::errc::cross_device_link));
        appdata_.require_writable(name);
    } else if (appdata_.link_status(name)) {
        throw tree_error("write to", appdata_.path_of(name),
                         "This is a symbolic link to something that does not exist.");
    }
    usable_directories_.insert(name);
}

// Returns what is at `name`, which a file can be renamed to.
std::optional<FileStatus> Transaction::require_place(const std::string& name) {
    require_directory(parent_of(name));
    const auto found = appdata_.link_status(name);
    if (found && found->type == FileStatus::Type::directory)
        throw tree_error("replace", appdata_.path_of(name),
                         std::make_error_code(std::errc::is_a_directory));
    return found;
}

void Transaction::put(const std::string& name, std::string_view bytes) {
    auto replaced = require_place(name);
    if (replaced && replaced->type != FileStatus::Type::regular)
        replaced = appdata_.status(name); // a link is replaced, with the mode of its file
    appdata_.write_new(staged(name), bytes, replaced);
}

void Transaction::keep(const std::string& name, const std::string& other_name) {
    require_place(other_name);
    appdata_.link_or_copy(name, staged(other_name));
}

void Transaction::remove(const std::string& name) {
    require_place(name);
    removals_.append(name).push_back('\0');
}

void Transaction::commit() {
    const std::string staging = staging_name;
    appdata_.make_parents(staged("name"));
    appdata_.write_new(join(staging, manifest_name), std::string(manifest_version) + removals_,
                       std::nullopt);
    appdata_.flush_all(staging);
    const tree_error exhausted = exhausted_memory(appdata_); // made while there is memory
    appdata_.rename(staging, appdata_, commit_name);
    committed_ = true;
    after_commit(exhausted, [&] {
        appdata_.flush(); // before any other rename can become durable
        finish(appdata_);
    });
    drop_staging(appdata_);
}

bool is_interrupted(const Directory& appdata) {
    return appdata.link_status(staging_name) || appdata.link_status(commit_name);
}

bool recover(const Directory& appdata) {
    const bool interrupted = is_interrupted(appdata);
    if (appdata.link_status(commit_name))
        after_commit(exhausted_memory(appdata), [&] { finish(appdata); });
    appdata.remove_tree(staging_name);
    return interrupted;
}

} // namespace install::tree
