#include "install/tree/view.hpp"

#include "install/tree_names.hpp"

#include <chrono>
#include <cstddef>
#include <thread>

namespace install::tree {

namespace {

constexpr int readings_without_lock = 8;
constexpr int most_readings = 2000; // a few seconds, where there is no right to lock

} // namespace

View::State::State(const Directory& appdata) : changes(counted_changes(appdata)) {
    std::size_t index = 0;
    for (const auto name :
         {tree_names::undo, tree_names::contents_map, tree_names::installed_record}) {
        const FileStatus status = appdata.status(std::string(name));
        files.at(index++) = {status.device, status.inode,
                             static_cast<std::uint64_t>(status.modified), status.size};
    }
}

View::View(const Directory& appdata) : appdata_(appdata), state_(appdata) {
    try {
        open_undo();
    } catch (const tree_error& error) {
        fault_ = error;
    }
}

void View::open_undo() {
    const std::string undo(tree_names::undo);
    if (!appdata_.has(undo))
        return;
    const Directory journal = appdata_.subdirectory(undo);
    manifest_ = Manifest::read(journal);
    old_ = journal.subdirectory(journal_names::old);
    for (const Manifest::Entry& entry : manifest_.entries)
        changed_.emplace(entry.name, entry.kind != Manifest::Entry::Kind::created);
}

FileStatus View::status(const std::string& name) const {
    const auto changed = changed_.find(name);
    if (changed == changed_.end())
        return appdata_.status(name);
    return changed->second ? old_->status(name) : FileStatus();
}

std::optional<std::string> View::read(const std::string& name) const {
    const auto changed = changed_.find(name);
    if (changed == changed_.end())
        return appdata_.read(name);
    return changed->second ? old_->read(name) : std::nullopt;
}

bool View::matches(const std::string& name, std::uint64_t size, const Digest& digest) const {
    const auto changed = changed_.find(name);
    if (changed == changed_.end())
        return appdata_.matches(name, size, digest);
    return changed->second && old_->matches(name, size, digest);
}

bool View::is_current() const {
    return State(appdata_) == state_;
}

void Readings::again() {
    using namespace std::chrono_literals;
    if (++count_ == most_readings)
        throw tree_error("read", appdata_.path_of(""), "It is changed again and again.");
    try {
        if (count_ == readings_without_lock)
            lock_.emplace(appdata_, FileLock::Shared());
    } catch (const tree_error&) { // no right to read the file, or none there
    }
    if (count_ > readings_without_lock)
        std::this_thread::sleep_for(1ms);
}

} // namespace install::tree
