#include "install/tree/lock.hpp"

#include "install/tree/change.hpp"
#include "install/tree/printable_text.hpp"
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

// Returns the process that holds the lock. A dead one held it before somebody who leaves no number.
std::int64_t owner_of(int file) noexcept {
    const std::int64_t process = read_owner(file).process;
    const bool is_dead = getpgid(static_cast<pid_t>(process)) == -1 && errno == ESRCH;
    return is_dead ? 0 : process;
}

std::error_code last_error() noexcept {
    return {errno, std::system_category()};
}

std::error_code lock(int file, int operation) noexcept {
    while (flock(file, operation) != 0)
        if (errno != EINTR)
            return last_error();
    return {};
}

// Never through a link, and never blocked by a FIFO.
Descriptor open_lock(const Directory& appdata, int flags) {
    return Descriptor(openat(appdata.number(), tree_names::lock.data(),
                             flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0666));
}

std::string lock_path(const Directory& appdata) {
    return appdata.path_of(std::string(tree_names::lock));
}

void require_regular(int file, const std::string& path) {
    struct stat found {};
    if (file < 0 || fstat(file, &found) != 0)
        throw tree_error("open", path, last_error());
    if (!S_ISREG(found.st_mode))
        throw tree_error("open", path, "This is not a regular file.");
}

// Looks again and again, as the system knows no lock with a limit.
std::error_code lock_until(int file, Clock::time_point end) {
    using namespace std::chrono_literals;
    for (auto pause = 1ms;; pause = std::min(2 * pause, 20ms)) {
        const auto code = lock(file, LOCK_EX | LOCK_NB);
        const auto left = end - Clock::now();
        if (code.value() != EWOULDBLOCK || left <= Clock::duration::zero())
            return code;
        std::this_thread::sleep_for(std::min<Clock::duration>(pause, left));
    }
}

} // namespace

std::string describe_process(std::int64_t process) {
    if (process == 0)
        return "another process";
    std::string command; // which the process itself may set to anything
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), command);
    const std::string number = "process " + std::to_string(process);
    return command.empty() ? number : number + " (" + printable_text(command) + ')';
}

FileLock::FileLock(const Directory& appdata, const Waiting& waiting)
    : FileLock(open_lock(appdata, O_RDWR | O_CREAT)) {
    const std::string path = lock_path(appdata);
    const auto begin = Clock::now();
    require_regular(file_.number(), path);
    auto code = lock(file_.number(), LOCK_EX | LOCK_NB);
    if (code.value() == EWOULDBLOCK) {
        if (waiting.observer)
            waiting.observer(owner_of(file_.number()));
        code = waiting.at_most ? lock_until(file_.number(), begin + *waiting.at_most)
                               : lock(file_.number(), LOCK_EX);
    }
    if (code.value() == EWOULDBLOCK)
        throw tree_error("lock", path, std::make_error_code(std::errc::timed_out),
                         "Held by " + describe_process(owner_of(file_.number())) + ".");
    require(code, "lock", path);
    changes_ = read_owner(file_.number()).changes;
    leave_owner();
}

FileLock::FileLock(const Directory& appdata, Shared /*tag*/)
    : FileLock(open_lock(appdata, O_RDONLY)) {
    const std::string path = lock_path(appdata);
    require_regular(file_.number(), path);
    require(lock(file_.number(), LOCK_SH), "lock", path);
}

FileLock::~FileLock() {
    if (file_.is_open())
        static_cast<void>(lock(file_.number(), LOCK_UN));
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
    if (!file.is_open() || lock(file.number(), LOCK_SH | LOCK_NB))
        return file.is_open();
    static_cast<void>(lock(file.number(), LOCK_UN));
    return false;
}

} // namespace install::tree
