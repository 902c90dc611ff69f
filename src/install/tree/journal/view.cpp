#include "install/tree/journal/view.hpp"

#include "install/tree/journal/recovery.hpp"
#include "install/tree_names.hpp"

#include <cstddef>
#include <thread>

namespace install::tree {

View::State::State(const Directory& appdata, const LockText& lock)
    : changes(lock.changes),
      state(lock.state) {
    std::size_t index = 0;
    for (const char* const name : {tree_names::undo, tree_names::contents_map,
                                   tree_names::installed_record, tree_names::receipts}) {
        const FileStatus status = appdata.status(name);
        files.at(index++) = {status.device, status.inode, status.size,
                             static_cast<std::uint64_t>(status.modified),
                             static_cast<std::uint64_t>(status.changed)};
    }
}

View::View(const Directory& appdata, const Mount& mount, bool sees_others)
    : appdata_(appdata),
      mount_(mount),
      lock_text_(read_lock_text(appdata, mount)),
      state_(appdata, lock_text_) {
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
    if (manifest_.is_empty())
        return;
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
    return State(appdata_, read_lock_text(appdata_, mount_)) == state_;
}

std::optional<LockText> View::from_elsewhere() const {
    if (!mount_.is_shared || lock_text_.process == 0)
        return std::nullopt;
    LockText own;
    own.sign(appdata_.status(".").device);
    return lock_text_.is_seen_by(own) ? std::nullopt : std::optional(lock_text_);
}

Retries::Retries(const Directory& appdata, const Options& options)
    : appdata_(appdata),
      mount_(options.only_mount ? Mount() : Mount::of(appdata)),
      cache_timeout_(options.cache_timeout),
      begin_(std::chrono::steady_clock::now()) {}

bool Retries::is_lasting() const {
    return !mount_.is_shared ||
           Seconds(std::chrono::steady_clock::now() - begin_) >= Seconds(cache_timeout_);
}

bool Retries::accepts(const View& view, bool looks_wrong) {
    is_late_ = false;
    if (!view.is_current())
        return false;
    const auto text = view.from_elsewhere();
    if (!text)
        return true;
    const auto now = std::chrono::steady_clock::now();
    const bool is_known = *text == from_elsewhere_;
    if (!is_known) {
        from_elsewhere_ = *text;
        since_ = now;
    }
    const bool is_as_left = is_as_left_by(*text, view);
    const bool is_seen =
        text->is_older_than(cache_timeout_) || Seconds(now - since_) >= Seconds(cache_timeout_);
    is_late_ = is_known;
    if (!is_seen)
        return is_as_left && !looks_wrong;
    if (text->state == LockText::State::changing) // by one that has died
        return is_as_left || !is_locked(appdata_);
    require_written_since(*text, view);
    return true;
}

void Retries::wait() {
    using namespace std::chrono_literals;
    constexpr int retries_without_lock = 8;
    constexpr int most_retries = 2000; // a few seconds, where there is no right to lock
    if (!is_late_ && ++count_ == most_retries)
        throw tree_error("read", appdata_.path_of(""), "It changed during every attempt.");
    try {
        if (count_ == retries_without_lock && !lock_)
            lock_.emplace(appdata_, FileLock::Shared());
    } catch (const tree_error&) { // no right to read the file, or none there
    }
    if (mount_.is_shared)
        std::this_thread::sleep_for(20ms);
    else if (count_ > retries_without_lock)
        std::this_thread::sleep_for(1ms);
}

} // namespace install::tree
