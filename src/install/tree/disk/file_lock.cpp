#include "install/tree/disk/file_lock.hpp"

#include "install/clock.hpp"
#include "install/tree/change.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/report/texts.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace install::tree {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t most_bytes_of_text = 4096; // as many as a cache and a disk hold in one piece

// Returns 0 or the error.
int lock_file(int file, int operation) noexcept {
    while (flock(file, operation) != 0)
        if (errno != EINTR)
            return errno;
    return 0;
}

void unlock(int file) noexcept {
    static_cast<void>(lock_file(file, LOCK_UN));
}

// Never through a link, and never blocked by a FIFO.
Descriptor open_lock(const Directory& appdata, int flags) noexcept {
    constexpr int always = O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    for (;;) {
        const int file = openat(appdata.number(), tree_names::lock, flags | always, 0666);
        if (file != -1 || errno != EINTR)
            return Descriptor(file);
    }
}

// Whoever may work on the tree may lock it, whatever the mask of the process that comes first.
Descriptor open_or_create_lock(const Directory& appdata) {
    Descriptor file = open_lock(appdata, O_RDWR);
    if (file.is_open() || errno != ENOENT)
        return file;
    try {
        const FileStatus like = appdata.status(".");
        appdata.write_new(tree_names::lock, "", &like, false);
    } catch (const tree_error& error) {
        if (error.code() != std::errc::file_exists) // by somebody else meanwhile
            throw;
    }
    return open_lock(appdata, O_RDWR);
}

// Returns nothing on failure. A process that has just taken the lock may not have left its text
// yet.
std::optional<LockText> read_text(int file) {
    alignas(most_bytes_of_text) std::array<char, most_bytes_of_text> bytes; // as O_DIRECT needs it
    ssize_t size = 0;
    do
        size = pread(file, bytes.data(), bytes.size(), 0);
    while (size < 0 && errno == EINTR);
    if (size < 0)
        return std::nullopt;
    return LockText::in({bytes.data(), static_cast<std::size_t>(size)});
}

// What another host wrote is not seen in the caches of this one. Some of them are below the system,
// and renewed where the folder is listed. Not every file system can go past caches (EINVAL), and
// some let only the descriptor read that has the lock (EACCES).
LockText read_text(int file, const Directory& appdata, bool is_shared) {
    if (!is_shared)
        return read_text(file).value_or(LockText());
    static_cast<void>(appdata.entries());
    const Descriptor direct = open_lock(appdata, O_RDONLY | O_DIRECT);
    auto text = direct.is_open() ? read_text(direct.number()) : std::nullopt;
    if (!text && (errno == EINVAL || errno == EACCES))
        text = read_text(file);
    if (!text)
        throw tree_error("read", appdata.path_of(tree_names::lock),
                         std::error_code(errno, std::system_category()));
    return std::move(*text);
}

// Who holds the lock that could not be had.
struct Holder {
    std::int64_t process = 0;
    std::string host;
};

// A dead process held it before somebody who leaves no text.
Holder holder_of(int file) {
    if (lock_file(file, LOCK_SH | LOCK_NB) == 0) {
        unlock(file);
        return {a_reader, {}};
    }
    const LockText text = read_text(file).value_or(LockText());
    LockText own;
    own.sign(0);
    if (text.boot.empty())
        return {};
    if (!text.names_process_of(own))
        return {a_process_elsewhere, text.host};
    const bool is_dead = getpgid(static_cast<pid_t>(text.process)) == -1 && errno == ESRCH;
    return {is_dead ? 0 : text.process, {}};
}

void require_regular(int file, const std::string& path) {
    struct stat found {};
    if (file < 0 || fstat(file, &found) != 0)
        throw tree_error("open", path, std::error_code(errno, std::system_category()));
    if (!S_ISREG(found.st_mode))
        throw tree_error("open", path, not_regular_text);
}

// Waits for the lock, and returns 0 or the error. Looks again and again where somebody wants to be
// asked meanwhile, as the system knows neither that nor a limit.
int wait_for_lock(int file, const FileLock::Waiting& waiting) {
    using namespace std::chrono_literals;
    if (!waiting.observer && !waiting.at_most)
        return lock_file(file, LOCK_EX);
    using Seconds = std::chrono::duration<double>; // of which no limit is too large
    const auto begin = Clock::now();
    auto next_call = begin;
    for (auto pause = 1ms;; pause = std::min(2 * pause, 20ms)) {
        if (waiting.observer && Clock::now() >= next_call) {
            waiting.observer(holder_of(file).process);
            next_call = Clock::now() + 100ms;
        }
        if (const int error = lock_file(file, LOCK_EX | LOCK_NB); error != EWOULDBLOCK)
            return error;
        if (waiting.at_most && Seconds(Clock::now() - begin) >= Seconds(*waiting.at_most))
            return EWOULDBLOCK;
        std::this_thread::sleep_for(pause);
    }
}

} // namespace

std::string describe_process(std::int64_t process) {
    if (process == a_reader)
        return "a reader";
    if (process == a_process_elsewhere)
        return "a process on another host, or in a container";
    if (process == 0)
        return "another process";
    std::string command; // which the process itself may set to anything
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), command);
    const std::string number = "process " + std::to_string(process);
    return command.empty() ? number : number + " (" + printable_text(command) + ')';
}

FileLock::FileLock(const Directory& appdata, const Waiting& waiting, const Mount& mount)
    : FileLock(open_or_create_lock(appdata), appdata.path_of(tree_names::lock)) {
    const int file = file_.number();
    require_regular(file, path_);
    int error = lock_file(file, LOCK_EX | LOCK_NB);
    if (error == EWOULDBLOCK)
        error = wait_for_lock(file, waiting);
    if (error == EWOULDBLOCK) {
        const auto [process, host] = holder_of(file);
        throw tree_error("lock", path_, std::make_error_code(std::errc::timed_out),
                         "Held by " +
                             (host.empty() ? describe_process(process)
                                           : "a process on host " + host + ", or in a container") +
                             '.');
    }
    if (error != 0)
        throw tree_error("lock", path_, std::error_code(error, std::system_category()));
    is_shared_ = mount.is_shared;
    const LockText found = read_text(file, appdata, is_shared_);
    text_ = found; // with which others compare until a change has ended
    text_.sign(appdata.status(".").device);
    if (is_shared_ && !found.is_seen_by(text_))
        from_elsewhere_ = found;
    if (from_elsewhere_ && found.state == LockText::State::complete)
        text_.state = LockText::State::late;
    if (!is_shared_) // where nobody compares
        text_.files.clear();
    static_cast<void>(write_text()); // or that of the earlier one stays, which says enough
}

FileLock::FileLock(const Directory& appdata, Shared /*tag*/)
    : FileLock(open_lock(appdata, O_RDONLY), appdata.path_of(tree_names::lock)) {
    require_regular(file_.number(), path_);
    if (const int error = lock_file(file_.number(), LOCK_SH))
        throw tree_error("lock", path_, std::error_code(error, std::system_category()));
}

FileLock::~FileLock() {
    if (file_.is_open())
        unlock(file_.number());
}

void FileLock::set_time() noexcept {
    text_.time = milliseconds_since_epoch();
}

void FileLock::begin_change() {
    ++text_.changes;
    text_.state = LockText::State::changing;
    set_time();
    if (!write_text() && is_shared_)
        throw tree_error("write", path_, std::error_code(errno, std::system_category()),
                         "Other hosts would not know of the change. The file must be writable, and "
                         "have no other hard link.");
}

void FileLock::end_change(const std::vector<FileRecord>& files) noexcept try {
    text_.state = LockText::State::complete;
    for (const FileRecord& file : files) {
        std::erase_if(text_.files, [&](const FileRecord& each) { return each.name == file.name; });
        if (file.digest)
            text_.files.push_back(file);
    }
    if (!files.empty())
        set_time();
    static_cast<void>(write_text());
} catch (const std::exception&) { // the next one does not trust a change that has not ended
}

// A file that has another name, too, is somebody's who wants it to be overwritten.
bool FileLock::write_text() const {
    const std::string text = text_.text();
    const int file = file_.number();
    struct stat found {};
    return fstat(file, &found) == 0 && found.st_nlink <= 1 && text.size() <= most_bytes_of_text &&
           pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) &&
           ftruncate(file, static_cast<off_t>(text.size())) == 0 &&
           (!is_shared_ || fsync(file) == 0);
}

LockText read_lock_text(const Directory& appdata, const Mount& mount) {
    const Descriptor file = open_lock(appdata, O_RDONLY);
    if (!file.is_open())
        return {};
    return read_text(file.number(), appdata, mount.is_shared);
}

bool is_locked(const Directory& appdata) {
    const Descriptor file = open_lock(appdata, O_RDONLY);
    if (!file.is_open() || lock_file(file.number(), LOCK_SH | LOCK_NB) != 0)
        return file.is_open();
    unlock(file.number());
    return false;
}

} // namespace install::tree
