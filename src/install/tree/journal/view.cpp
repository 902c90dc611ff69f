#include "install/tree/journal/view.hpp"

#include "install/tree/journal/recovery.hpp"
#include "install/tree_names.hpp"

#include <chrono>
#include <cstddef>
#include <thread>

namespace install::tree {

View::State::State(const Directory& appdata) : changes(counted_changes(appdata)) {
    std::size_t index = 0;
    for (const char* const name : {tree_names::undo, tree_names::contents_map,
                                   tree_names::installed_record, tree_names::receipts}) {
        const FileStatus status = appdata.status(name);
        files.at(index++) = {status.device, status.inode, status.size,
                             static_cast<std::uint64_t>(status.modified),
                             static_cast<std::uint64_t>(status.changed)};
    }
}

View::View(const Directory& appdata, bool sees_others) : appdata_(appdata), state_(appdata) {
    try {
        open_undo();
        if (sees_others && old_)
            for (const std::string& name : tree::files_of_others(appdata_, *undo_, manifest_))
                changed_.erase(name);
    } catch (const tree_error& error) {
        fault_ = error;
    }
}

void View::open_undo() {
    if (!appdata_.has(tree_names::undo))
        return;
    undo_ = appdata_.subdirectory(tree_names::undo);
    manifest_ = Manifest::read(*undo_);
    old_ = undo_->subdirectory(journal_names::old);
    for (const Manifest::Entry& entry : manifest_.entries)
        changed_.emplace(entry.file.name, entry.kind != ChangeStep::Kind::create);
}

const Directory* View::directory_of(const std::string& name) const {
    const auto changed = changed_.find(name);
    if (changed == changed_.end())
        return &appdata_;
    return changed->second ? &*old_ : nullptr;
}

FileStatus View::status(const std::string& name) const {
    const Directory* const directory = directory_of(name);
    return directory == nullptr ? FileStatus() : directory->status(name);
}

std::optional<std::string> View::read(const std::string& name) const {
    const Directory* const directory = directory_of(name);
    return directory == nullptr ? std::nullopt : directory->read(name);
}

bool View::matches(const std::string& name, const FileRecord& record) const {
    const Directory* const directory = directory_of(name);
    return directory != nullptr && directory->matches(name, record);
}

std::vector<std::string> View::files_of_others() const {
    std::vector<std::string> paths;
    if (old_)
        for (const std::string& name : tree::files_of_others(appdata_, *undo_, manifest_))
            paths.push_back(path_of(name));
    return paths;
}

bool View::is_current() const {
    return State(appdata_) == state_;
}

void prepare_retry(const Directory& appdata, int retries, std::optional<FileLock>& lock) {
    constexpr int retries_without_lock = 8;
    constexpr int most_retries = 2000; // a few seconds, where there is no right to lock
    if (retries == most_retries)
        throw tree_error("read", appdata.path_of(""), "It is changed again and again.");
    try {
        if (retries == retries_without_lock)
            lock.emplace(appdata, FileLock::Shared());
    } catch (const tree_error&) { // no right to read the file, or none there
    }
    if (retries > retries_without_lock)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

} // namespace install::tree
