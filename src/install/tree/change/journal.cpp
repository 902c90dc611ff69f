#include "install/tree/change/journal.hpp"

#include "install/tree/change/changed_folders.hpp"
#include "install/tree/change/rollback.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <cerrno>
#include <new>
#include <utility>

namespace install::tree {

namespace {

using Entry = Manifest::Entry;
using Missing = Folders::Missing;
using Type = FileStatus::Type;
using tree_names::join;

constexpr const char* staging_name = tree_names::staging.data();
constexpr const char* undo_name = tree_names::undo.data();

// As many files are flushed one by one, so that nobody waits for what other programs have written.
constexpr std::size_t few_files = 64;

// Whether no file can be at such a name.
bool is_no_place(const std::error_code& code) {
    return code.value() == ENOENT || code.value() == ENOTDIR || code.value() == ELOOP ||
           code.value() == ENAMETOOLONG;
}

// Links a file; copies it where there are no links.
void give_other_name(const Place& place, const Place& other, const std::string& path) {
    auto code = place.link_to(other);
    if (is_for_lack_of_links(code))
        code = place.copy_to(other);
    require(code, "keep", path);
}

} // namespace

Journal::Staging::Staging(const Directory& appdata_directory)
    : appdata(appdata_directory),
      directory(appdata.make_subdirectory(staging_name)) {}

Journal::Staging::~Staging() {
    try {
        if (is_kept)
            return;
        appdata.remove_tree(staging_name);
    } catch (const std::exception&) { // the change itself is complete, or has failed already
    }
}

Journal::Journal(const Directory& appdata, FileLock& lock, Durability durability,
                 ProgressReporter::Observer observer)
    : appdata_(appdata),
      lock_(lock),
      durability_(durability),
      progress_(std::move(observer)),
      staging_(appdata),
      files_directory_(staging_.directory.make_subdirectory(journal_names::files)),
      old_directory_(staging_.directory.make_subdirectory(journal_names::old)),
      places_(appdata.folders()),
      files_(files_directory_.folders()),
      old_(old_directory_.folders()) {}

void Journal::expect(std::size_t files) {
    progress_.begin(Progress::Phase::stage, files);
}

// Gives what is at `name` another name, and returns what it is.
FileStatus Journal::keep_old(const std::string& name) {
    Place place;
    FileStatus found;
    if (is_in_new_folder(name))
        return found;
    auto code = places_.find(name, Missing::is_error, place);
    if (code.value() == ENOENT) {
        add_new_folder(name);
        return found;
    }
    if (!code)
        code = place.look(found);
    require(code, "write to", appdata_.path_of(name));
    if (found.type == Type::directory)
        throw tree_error("replace", appdata_.path_of(name),
                         std::make_error_code(std::errc::is_a_directory));
    if (found.type == Type::nothing)
        return found;
    Place old;
    require(old_.find(name, Missing::is_created, old), "create", old_directory_.path_of(name));
    give_other_name(place, old, appdata_.path_of(name));
    return found;
}

// Of the folders of a name, some exist.
void Journal::add_new_folder(const std::string& name) {
    for (auto end = name.find('/', places_.opened() + 1); end != std::string::npos;
         end = name.find('/', end + 1))
        new_folders_.insert(name.substr(0, end));
}

bool Journal::is_in_new_folder(const std::string& name) const {
    return !new_folders_.empty() && new_folders_.contains(parent_of(name));
}

Place Journal::staged(const std::string& name) {
    Place place;
    require(files_.find(name, Missing::is_created, place), "create",
            files_directory_.path_of(name));
    return place;
}

Entry& Journal::add(const std::string& name, const FileStatus& old,
                    std::optional<Entry::Content> content) {
    const auto kind = old.type == Type::nothing ? Entry::Kind::created : Entry::Kind::replaced;
    manifest_.entries.push_back({kind, name, content, is_in_new_folder(name)});
    progress_.step();
    return manifest_.entries.back();
}

Entry::Content Journal::put(const std::string& name, std::string_view bytes) {
    const Entry::Content content = {bytes.size(), Sha256().add(bytes).digest()};
    write(name, bytes, content);
    return content;
}

void Journal::put_own(const std::string& name, std::string_view bytes) {
    write(name, bytes, std::nullopt);
}

void Journal::write(const std::string& name, std::string_view bytes,
                    std::optional<Entry::Content> content) {
    const FileStatus old = keep_old(name);
    const bool is_flushed_alone =
        durability_ == Durability::power_failure && manifest_.entries.size() < few_files;
    require(write_new(staged(name), bytes, old.type == Type::regular ? &old : nullptr,
                      is_flushed_alone),
            "write", files_directory_.path_of(name));
    add(name, old, content).is_written = true;
}

void Journal::keep(const std::string& name, const std::string& other_name) {
    const FileStatus old = keep_old(other_name);
    Place place;
    require(places_.find(name, Missing::is_error, place), "keep", appdata_.path_of(name));
    give_other_name(place, staged(other_name), appdata_.path_of(name));
    add(other_name, old, std::nullopt);
}

void Journal::remove(const std::string& name) {
    Place place;
    FileStatus found;
    auto code = places_.find(name, Missing::is_error, place);
    if (!code)
        code = place.look(found);
    if (is_no_place(code) || found.type == Type::nothing || found.type == Type::directory)
        return;
    require(code, "remove", appdata_.path_of(name));
    keep_old(name);
    manifest_.entries.push_back({Entry::Kind::removed, name, std::nullopt});
    progress_.step();
}

std::vector<ChangeStep> Journal::steps() const {
    std::vector<ChangeStep> steps;
    steps.reserve(manifest_.entries.size());
    for (const Entry& entry : manifest_.entries)
        steps.push_back({static_cast<ChangeStep::Kind>(entry.kind), appdata_.path_of(entry.name)});
    return steps;
}

// Makes durable what a recovery needs, and what stays after the commit. The old files, too: their
// last writer may not have done so.
void Journal::flush() {
    progress_.begin(Progress::Phase::flush, 0);
    if (durability_ == Durability::process_death)
        return;
    const bool are_few = manifest_.entries.size() <= few_files;
    if (!(are_few && flush_one_by_one()) && !staging_.directory.flush_file_system())
        static_cast<void>(flush_one_by_one());
}

// Returns false if a file may not be opened.
bool Journal::flush_one_by_one() {
    const auto flush_file = [](Folders& folders, const Directory& directory,
                               const std::string& name) {
        Place place;
        auto code = folders.find(name, Missing::is_error, place);
        if (!code)
            code = place.flush();
        if (code.value() != EACCES)
            require(code, "flush", directory.path_of(name));
        return !code;
    };
    Folders here = staging_.directory.folders();
    bool is_done = flush_file(here, staging_.directory, journal_names::manifest);
    for (const Entry& entry : manifest_.entries) {
        if (entry.is_written)
            is_done = flush_file(files_, files_directory_, entry.name) && is_done;
        if (entry.kind != Entry::Kind::created)
            is_done = flush_file(old_, old_directory_, entry.name) && is_done;
    }
    old_directory_.flush_folders();
    for (const std::string& name : new_folders_)
        files_directory_.subdirectory(name).flush();
    staging_.directory.flush();
    return is_done;
}

// Folders that do not exist yet move as a whole, which takes no room on a full disk, and no time.
void Journal::move_folders(ChangedFolders& places) {
    for (const std::string& name : new_folders_) {
        if (new_folders_.contains(parent_of(name)))
            continue;
        Place place;
        auto code = places.find(name, Missing::is_error, place);
        if (!code)
            code = staged(name).rename_to(place);
        require(code, "write", appdata_.path_of(name));
        places.change();
    }
}

void Journal::move_into_place() {
    progress_.begin(Progress::Phase::move, manifest_.entries.size());
    ChangedFolders places(appdata_, durability_);
    move_folders(places);
    for (const Entry& entry : manifest_.entries) {
        if (!entry.is_in_new_folder)
            move_file(entry, places);
        progress_.step();
    }
    require(places.leave(), "flush", appdata_.path_of(""));
}

void Journal::move_file(const Entry& entry, ChangedFolders& places) {
    const bool is_removed = entry.kind == Entry::Kind::removed;
    Place place;
    auto code = places.find(entry.name, Missing::is_error, place);
    if (!code)
        code = is_removed ? place.remove() : staged(entry.name).rename_to(place);
    require(code, is_removed ? "remove" : "write", appdata_.path_of(entry.name));
    places.change();
}

void Journal::commit() {
    const Place staging = {appdata_.number(), staging_name};
    const Place undo = {appdata_.number(), undo_name};
    const bool is_durable = durability_ == Durability::power_failure;
    manifest_.folders.assign(new_folders_.begin(), new_folders_.end());
    for (const auto& [name, bytes] :
         {std::pair<const char*, std::string>(journal_names::manifest, manifest_.text()),
          std::pair<const char*, std::string>(journal_names::restored, "")})
        require(write_new({staging_.directory.number(), name}, bytes, nullptr, is_durable), "write",
                staging_.directory.path_of(name));
    flush();
    Rollback rollback(appdata_, staging_.directory, manifest_, durability_);
    const tree_error doubtful("flush", appdata_.path_of(""),
                              "The change is made, but may not survive a failure of power.");
    lock_.count_change();
    require(staging.rename_to(undo), "rename", appdata_.path_of(staging_name));
    try {
        if (is_durable)
            appdata_.flush(); // before any other rename can become durable
        move_into_place();
        require(undo.rename_to(staging), "rename", appdata_.path_of(undo_name));
    } catch (...) {
        for (Folders* const each : {&places_, &files_, &old_})
            each->close();
        staging_.is_kept = bool(rollback.run().code); // the next change tries it again
        throw;
    }
    if (const auto code = is_durable ? flush_descriptor(appdata_.number()) : std::error_code()) {
        staging_.is_kept = true; // after a failure of power this may be `.undo` again
        throw doubtful.as_committed(code);
    }
    drop();
}

// The change is made, so that nothing here is a failure of it.
void Journal::drop() noexcept {
    try {
        progress_.begin(Progress::Phase::drop, 0);
    } catch (...) { // nobody waits for it
    }
    try {
        appdata_.remove_tree(staging_name, [this] {
            try {
                progress_.step();
            } catch (...) {
            }
        });
    } catch (const std::exception&) { // the next change drops the rest
    }
}

} // namespace install::tree
