#include "install/tree/journal/journal.hpp"

#include "install/tree/journal/recovery.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace install::tree {

namespace {

using Entry = Manifest::Entry;
using StepKind = ChangeStep::Kind;
using Type = FileStatus::Type;

// As many files are flushed one by one, so that nobody waits for what other programs have written.
constexpr std::size_t few_files = 64;

Directory make_subdirectory(const Directory& directory, const char* name, const FileStatus& like) {
    directory.make_folders(name, &like);
    return directory.subdirectory(name);
}

bool is_document(const std::string& name) {
    return name.find('/') != std::string::npos;
}

StepKind kind_of(const FileStatus& old) {
    return old.is_there() ? StepKind::replace : StepKind::create;
}

} // namespace

Journal::Staging::Staging(const Directory& appdata_directory)
    : appdata(appdata_directory),
      like(appdata.status(".")),
      directory(make_subdirectory(appdata, tree_names::staging, like)) {}

Journal::Staging::~Staging() {
    try {
        if (!is_kept)
            appdata.remove_tree(tree_names::staging);
    } catch (const std::exception&) { // the change itself is complete, or has failed already
    }
}

Journal::Journal(const Directory& appdata, FileLock& lock, const Options& options)
    : appdata_(appdata),
      lock_(lock),
      is_durable_(options.durability == Durability::power_failure),
      progress_(options.on_progress),
      spelling_(appdata),
      staging_(appdata),
      files_(make_subdirectory(staging_.directory, journal_names::files, staging_.like)),
      old_(make_subdirectory(staging_.directory, journal_names::old, staging_.like)) {}

void Journal::announce(std::size_t files) {
    progress_.begin(Progress::Phase::stage, files);
}

// Keeps what is at `name`, and returns what it is.
FileStatus Journal::stage_old(const std::string& name) {
    if (is_in_new_folder(name))
        return {};
    add_missing_folders(name);
    const FileStatus found = appdata_.status(name);
    if (found.type == Type::directory)
        throw tree_error("replace", appdata_.path_of(name),
                         std::make_error_code(std::errc::is_a_directory));
    if (found.is_there() && is_document(name) && spelling_.is_other(name))
        Spelling::refuse(appdata_, name);
    if (found.is_there())
        keep(name, old_, name);
    return found;
}

// Gives a file a second name. Where a program has the files, that may change what the system knows
// of them, by which shared files are compared.
void Journal::keep(const std::string& name, const Directory& other, const std::string& other_name) {
    if (is_document(name) || !appdata_.is_on_fuse())
        appdata_.link_or_copy(name, other, other_name, &staging_.like);
    else
        appdata_.copy(name, other, other_name);
}

void Journal::add_missing_folders(const std::string& name) {
    const std::string first = appdata_.missing_folder(name);
    if (first.empty())
        return;
    for (auto end = first.size(); end != std::string::npos; end = name.find('/', end + 1))
        new_folders_.insert(name.substr(0, end));
}

bool Journal::is_in_new_folder(const std::string& name) const {
    return !new_folders_.empty() && new_folders_.contains(parent_of(name));
}

void Journal::stage_new(FileRecord file, std::string_view bytes) {
    const FileStatus old = stage_old(file.name);
    const bool is_own = !file.digest;
    const FileStatus* const like = old.type == Type::regular ? &old
                                   : is_own                  ? &staging_.like
                                                             : nullptr;
    files_.make_folders(parent_of(file.name), &staging_.like); // a new one moves as a whole
    try {
        files_.write_new(file.name, bytes, like,
                         is_durable_ && manifest_.entries.size() < few_files);
    } catch (const tree_error& error) {
        if (error.code() == std::errc::file_exists) // of the same change
            Spelling::refuse(files_, file.name);
        throw;
    }
    manifest_.entries.push_back({kind_of(old), std::move(file), false});
    progress_.step();
}

FileRecord Journal::replace(const std::string& name, std::string_view bytes) {
    FileRecord file = FileRecord::of(name, bytes);
    stage_new(file, bytes);
    return file;
}

void Journal::replace_shared(const std::string& name, std::string_view bytes,
                             const FileStatus& seen) {
    seen_.emplace(name, seen);
    require_unchanged(name);
    shared_files_.push_back(replace(name, bytes));
}

// Only other hosts need its digest, which takes long for what large trees have.
void Journal::replace_own(const std::string& name, std::string_view bytes) {
    const FileRecord unknown = {name, bytes.size(), std::nullopt};
    shared_files_.push_back(lock_.is_shared() ? FileRecord::of(name, bytes) : unknown);
    stage_new(unknown, bytes);
}

void Journal::keep_copy(const std::string& name, const std::string& copy) {
    const FileStatus old = stage_old(copy);
    keep(name, files_, copy);
    manifest_.entries.push_back({kind_of(old), {copy, 0, std::nullopt}, true});
    progress_.step();
}

void Journal::remove(const std::string& name) {
    const FileStatus found = appdata_.status_or_nothing(name);
    const bool is_file = found.is_there() && found.type != Type::directory;
    if (is_file && !(is_document(name) && spelling_.is_other(name))) { // of another product
        appdata_.link_or_copy(name, old_, name, &staging_.like);
        manifest_.entries.push_back({StepKind::remove, {name, 0, std::nullopt}, false});
    }
    progress_.step();
}

std::vector<ChangeStep> Journal::steps() const {
    const std::string documents = tree_names::join(tree_names::documents, "");
    std::vector<ChangeStep> steps;
    steps.reserve(manifest_.entries.size());
    for (const Entry& entry : manifest_.entries)
        steps.push_back({entry.kind, appdata_.path_of(entry.file.name),
                         entry.file.name.starts_with(documents)});
    return steps;
}

// The second file keeps the room on the disk that a roll back takes for a name.
void Journal::write_manifest() {
    manifest_.folders.assign(new_folders_.begin(), new_folders_.end());
    if (const auto record = appdata_.read(tree_names::installed_record))
        manifest_.old_record = FileRecord::of(tree_names::installed_record, *record);
    staging_.directory.write_new(journal_names::manifest, manifest_.text(), &staging_.like,
                                 is_durable_);
    staging_.directory.write_new(journal_names::restored, "", &staging_.like, false);
    manifest_.staged_at = staging_.directory.status(journal_names::manifest).modified;
}

// Calls `visit` with the directory and the name of each file that has to be durable: what a
// recovery needs, and what stays after the commit. The old files, too: their last writer may not
// have done so.
template <class Visit>
void Journal::for_each_file_to_flush(const Visit& visit) const {
    visit(staging_.directory, journal_names::manifest);
    for (const Entry& entry : manifest_.entries) {
        if (entry.kind != StepKind::remove && !entry.is_other_name)
            visit(files_, entry.file.name);
        if (entry.kind != StepKind::create)
            visit(old_, entry.file.name);
    }
}

void Journal::flush() {
    if (!is_durable_)
        return;
    std::size_t total = 0;
    for_each_file_to_flush([&](const auto&...) { ++total; });
    progress_.begin(Progress::Phase::flush, total);
    const bool are_few = manifest_.entries.size() <= few_files;
    if (!(are_few && flush_one_by_one()) && !staging_.directory.flush_file_system() && !are_few)
        static_cast<void>(flush_one_by_one());
    progress_.finish();
}

// Returns false if a file may not be opened.
bool Journal::flush_one_by_one() {
    bool is_done = true;
    for_each_file_to_flush([&](const Directory& directory, const std::string& name) {
        is_done = directory.flush_file(name) && is_done;
        progress_.step();
    });
    old_.flush_all_folders();
    for (const std::string& name : new_folders_)
        files_.flush_folder(name);
    staging_.directory.flush_folder("");
    return is_done;
}

void Journal::begin_moving() {
    appdata_.rename(tree_names::staging, appdata_, tree_names::undo);
    if (is_durable_)
        appdata_.flush_folder(""); // before any other rename can become durable
}

// Folders that do not exist yet move as a whole, which takes no room on a full disk, and no time.
void Journal::move_into_place() {
    progress_.begin(Progress::Phase::move, manifest_.entries.size());
    for (const std::string& folder : new_folders_)
        if (!is_in_new_folder(folder))
            files_.rename(folder, appdata_, folder);
    for (const Entry& entry : manifest_.entries) {
        if (!is_in_new_folder(entry.file.name))
            move_file(entry);
        progress_.step();
    }
    if (is_durable_)
        flush_changed_folders();
    require_unwritten();
}

void Journal::move_file(const Entry& entry) {
    const std::string& name = entry.file.name;
    if (entry.kind == StepKind::remove)
        return appdata_.remove(name);
    require_unchanged(name);
    files_.rename(name, appdata_, name);
}

void Journal::require(bool is_untouched, const std::string& name) const {
    if (!is_untouched)
        throw tree_error("replace", appdata_.path_of(name),
                         "Another program has written it meanwhile.");
}

// A program that knows no lock may have written a shared file since it was read.
void Journal::require_unchanged(const std::string& name) const {
    const auto seen = seen_.find(name);
    require(seen == seen_.end() || appdata_.status(name).has_same_bytes(seen->second), name);
}

// The same until now: it wrote to the old file, whose other name is kept here (where it is no
// copy), or to the new one.
void Journal::require_unwritten() const {
    for (const auto& [name, seen] : seen_) {
        const FileStatus old = seen.is_there() ? old_.status(name) : seen;
        require(!old.is_same_file(seen) || old.has_same_bytes(seen), name);
        require(appdata_.status(name).modified <= manifest_.staged_at, name);
    }
}

void Journal::flush_changed_folders() const {
    std::set<std::string> changed;
    for (const std::string& folder : new_folders_)
        changed.insert(parent_of(folder));
    for (const Entry& entry : manifest_.entries)
        if (!is_in_new_folder(entry.file.name))
            changed.insert(parent_of(entry.file.name));
    for (const std::string& folder : changed)
        if (!new_folders_.contains(folder)) // which were flushed before they moved
            appdata_.flush_folder(folder);
}

void Journal::commit() {
    write_manifest();
    flush();
    lock_.begin_change();
    try {
        begin_moving();
        move_into_place();
        appdata_.rename(tree_names::undo, appdata_, tree_names::staging);
    } catch (const tree_error& failure) {
        undo_moves(&failure);
        throw;
    } catch (...) {
        undo_moves(nullptr);
        throw;
    }
    finish();
}

// Rolls back what was moved, unless `.staging` has not even become `.undo`. What it cannot roll
// back, whoever comes next tries again.
void Journal::undo_moves(const tree_error* failure) {
    const Directory* const open[] = {&appdata_, &files_, &old_};
    for (const Directory* const each : open)
        each->close_folder(); // descriptors may be what is missing
    try {
        if (!appdata_.has(tree_names::undo))
            return;
        staging_.is_kept = true; // after a power failure it may be `.undo` again
        roll_back(appdata_, staging_.directory, manifest_,
                  is_durable_ ? Durability::power_failure : Durability::process_death);
        staging_.is_kept = false;
        lock_.see_change(); // of the tree as it was before
    } catch (const tree_error& second) {
        throw tree_error(failure != nullptr ? *failure : second, tree_error::Outcome::interrupted,
                         std::string("the change waits to be rolled back (") + second.what() +
                             "): readers of this library see the tree as it was, other programs "
                             "after the next change or a repair");
    }
}

// The change is made.
void Journal::finish() {
    if (is_durable_)
        try {
            appdata_.flush_folder("");
        } catch (const tree_error& error) {
            staging_.is_kept = true; // after a power failure this may be `.undo` again
            throw tree_error(error, tree_error::Outcome::committed,
                             "the change is made, but may not survive a power failure");
        }
    lock_.end_change(shared_files_);
    drop();
}

// Nothing here is a failure of the change, not even of its observer.
void Journal::drop() noexcept {
    const auto report = [](const auto& step) {
        try {
            step();
        } catch (...) { // nobody waits for it
        }
    };
    constexpr std::size_t own_files = 2; // the manifest, and the one that keeps room
    const auto replaced = std::ranges::count_if(
        manifest_.entries, [](const Entry& entry) { return entry.kind != StepKind::create; });
    const std::size_t total = own_files + static_cast<std::size_t>(replaced);
    report([&] { progress_.begin(Progress::Phase::drop, total); });
    try {
        appdata_.remove_tree(tree_names::staging, [&] { report([&] { progress_.step(); }); });
    } catch (const std::exception&) { // the next change drops the rest
        return;
    }
    report([&] { progress_.finish(); });
}

} // namespace install::tree
