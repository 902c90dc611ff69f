#include "install/tree/change/rollback.hpp"

#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <cerrno>

#include <unistd.h>

namespace install::tree {

namespace {

using Missing = Folders::Missing;
using Entry = Manifest::Entry;

// Whether nothing of a change can be there: a folder is gone, or something else is in its place.
bool is_elsewhere(const std::error_code& code) noexcept {
    return code.value() == ENOENT || code.value() == ENOTDIR || code.value() == ELOOP;
}

} // namespace

Rollback::Rollback(const Directory& appdata, const Directory& journal, const Manifest& manifest,
                   Durability durability)
    : appdata_(appdata),
      journal_(journal),
      manifest_(manifest),
      old_(journal.subdirectory(journal_names::old)),
      old_places_(old_.folders()),
      places_(appdata, durability),
      durability_(durability) {
    for (Descriptor& descriptor : reserved_)
        descriptor = appdata.duplicate();
}

Rollback::Result Rollback::run() noexcept {
    for (Descriptor& descriptor : reserved_)
        descriptor.close();
    for (const Entry& entry : manifest_.entries)
        if (const auto code = take_back(entry))
            return {code, &entry.name};
    for (std::size_t left = manifest_.folders.size(); left-- > 0;) // the innermost first
        if (const auto code = remove_folder(manifest_.folders[left]))
            return {code, &manifest_.folders[left]};
    return {finish(), nullptr};
}

std::error_code Rollback::take_back(const Entry& entry) noexcept {
    Place place;
    FileStatus found;
    auto code = places_.find(entry.name, Missing::is_error, place);
    if (!code)
        code = place.look(found);
    if (is_elsewhere(code) && entry.kind == Entry::Kind::created)
        return {};
    if (code.value() == ENOENT)
        code = places_.find(entry.name, Missing::is_created, place);
    if (code)
        return code;
    bool is_ours = !entry.content && entry.kind != Entry::Kind::removed;
    if (entry.content)
        code = place.compare(entry.content->size, entry.content->digest, is_ours);
    if (code)
        return code;
    const bool is_nothing = found.type == FileStatus::Type::nothing;
    if (entry.kind != Entry::Kind::created)
        return is_nothing || is_ours ? restore(entry, place, found) : std::error_code();
    if (is_nothing || !is_ours)
        return {};
    places_.change();
    return place.remove();
}

std::error_code Rollback::restore(const Entry& entry, const Place& place,
                                  const FileStatus& found) noexcept {
    Place old;
    FileStatus old_status;
    auto code = old_places_.find(entry.name, Missing::is_error, old);
    if (!code)
        code = old.look(old_status);
    if (!code && old_status.type == FileStatus::Type::nothing)
        code = std::make_error_code(std::errc::no_such_file_or_directory);
    bool is_same = found.is_same_file(old_status);
    if (!code && !is_same && entry.content && found.type != FileStatus::Type::nothing)
        code = old.compare(entry.content->size, entry.content->digest, is_same); // as the new one
    if (code || is_same)
        return code;
    const Place restored = {journal_.number(), journal_names::restored};
    if (const auto failure = restored.remove()) // it kept the room
        return failure;
    code = old.link_to(restored);
    if (is_for_lack_of_links(code))
        code = old.copy_to(restored);
    places_.change();
    return code ? code : restored.rename_to(place);
}

// A new folder stays if somebody has put something there.
std::error_code Rollback::remove_folder(const std::string& name) noexcept {
    Place place;
    auto code = places_.find(name, Missing::is_error, place);
    if (!code)
        code = place.remove_folder();
    if (!code)
        places_.change();
    const bool is_in_use = code.value() == ENOTEMPTY || code.value() == EEXIST;
    return is_in_use || is_elsewhere(code) ? std::error_code() : code;
}

// `.undo` goes when all else is durable, as the change itself ends.
std::error_code Rollback::finish() noexcept {
    auto code = places_.leave();
    const Place undo = {appdata_.number(), tree_names::undo.data()};
    if (!code)
        code = undo.rename_to({appdata_.number(), tree_names::staging.data()});
    if (!code && durability_ == Durability::power_failure)
        code = flush_descriptor(appdata_.number());
    return code;
}

} // namespace install::tree
