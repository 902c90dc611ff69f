#include "install/tree/disk/file_lock.hpp"

#include "install/tree/change.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/report/texts.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
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

// The text of the file: the process that holds the lock, or held it last, and the number of
// changes.
struct Owner {
    std::int64_t process = 0;
    std::uint64_t changes = 0;
};

// A process that has just taken the lock may not have left its number yet.
Owner read_owner(int file) noexcept {
    std::array<char, 64> text{};
    const auto size = pread(file, text.data(), text.size(), 0);
    Owner owner;
    const char* const end = text.data() + std::max<ssize_t>(size, 0);
    const auto after = std::from_chars(text.data(), end, owner.process).ptr;
    if (after != end)
        std::from_chars(after + 1, end, owner.changes);
    return owner;
}

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

// Returns the process that holds the lock that could not be had. A dead one held it before somebody
// who leaves no number.
std::int64_t owner_of(int file) noexcept {
    if (lock_file(file, LOCK_SH | LOCK_NB) == 0) {
        unlock(file);
        return a_reader;
    }
    const std::int64_t process = read_owner(file).process;
    const bool is_dead = getpgid(static_cast<pid_t>(process)) == -1 && errno == ESRCH;
    return is_dead ? 0 : process;
}

// Never through a link, and never blocked by a FIFO.
Descriptor open_lock(const Directory& appdata, int flags) noexcept {
    return Descriptor(openat(appdata.number(), tree_names::lock,
                             flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0666));
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

std::string lock_path(const Directory& appdata) {
    return appdata.path_of(tree_names::lock);
}

void require_regular(int file, const std::string& path) {
    struct stat found {};
    if (file < 0 || fstat(file, &found) != 0)
        throw tree_error("open", path, std::error_code(errno, std::system_category()));
    if (!S_ISREG(found.st_mode))
        throw tree_error("open", path, not_regular);
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
            waiting.observer(owner_of(file));
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
    if (process == 0)
        return "another process";
    std::string command; // which the process itself may set to anything
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), command);
    const std::string number = "process " + std::to_string(process);
    return command.empty() ? number : number + " (" + printable_text(command) + ')';
}

FileLock::FileLock(const Directory& appdata, const Waiting& waiting)
    : FileLock(open_or_create_lock(appdata)) {
    const int file = file_.number();
    const std::string path = lock_path(appdata);
    require_regular(file, path);
    int error = lock_file(file, LOCK_EX | LOCK_NB);
    if (error == EWOULDBLOCK)
        error = wait_for_lock(file, waiting);
    if (error == EWOULDBLOCK)
        throw tree_error("lock", path, std::make_error_code(std::errc::timed_out),
                         "Held by " + describe_process(owner_of(file)) + ".");
    if (error != 0)
        throw tree_error("lock", path, std::error_code(error, std::system_category()));
    changes_ = read_owner(file).changes;
    leave_owner();
}

FileLock::FileLock(const Directory& appdata, Shared /*tag*/)
    : FileLock(open_lock(appdata, O_RDONLY)) {
    const std::string path = lock_path(appdata);
    require_regular(file_.number(), path);
    if (const int error = lock_file(file_.number(), LOCK_SH))
        throw tree_error("lock", path, std::error_code(error, std::system_category()));
}

FileLock::~FileLock() {
    if (file_.is_open())
        unlock(file_.number());
}

// Only a help for others, so that a failure does not matter. A file that has another name, too, is
// somebody's who wants it to be overwritten.
void FileLock::leave_owner() noexcept {
    struct stat found {};
    if (fstat(file_.number(), &found) != 0 || found.st_nlink > 1)
        return;
    std::array<char, 64> text{};
    const auto size = static_cast<std::size_t>(
        std::snprintf(text.data(), text.size(), "%lld %llu\n", static_cast<long long>(getpid()),
                      static_cast<unsigned long long>(changes_)));
    if (pwrite(file_.number(), text.data(), size, 0) == static_cast<ssize_t>(size))
        static_cast<void>(ftruncate(file_.number(), static_cast<off_t>(size)) == 0);
}

void FileLock::count_change() noexcept {
    ++changes_;
    leave_owner();
}

std::uint64_t counted_changes(const Directory& appdata) {
    const Descriptor file = open_lock(appdata, O_RDONLY);
    return file.is_open() ? read_owner(file.number()).changes : 0;
}

bool is_locked(const Directory& appdata) {
    const Descriptor file = open_lock(appdata, O_RDONLY);
    if (!file.is_open() || lock_file(file.number(), LOCK_SH | LOCK_NB) != 0)
        return file.is_open();
    unlock(file.number());
    return false;
}

} // namespace install::tree
