#include "support/disk_calls.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <utility>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace {

thread_local constinit test::DiskObserver* innermost = nullptr;
// A call that is put off, and its descriptor, which stays open as long.
thread_local std::function<void()> delayed;
thread_local constinit int kept_open = -1;
thread_local constinit std::uint32_t reported_file_system = 0; // none
thread_local constinit bool is_case_ignored = false;

template <class Result, class... Arguments>
Result real(const char* function, Arguments... arguments) {
    using Function = Result(Arguments...);
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, function))(arguments...);
}

// What the observers themselves do is not observed.
template <class Result, class... Arguments>
Result observed(const test::DiskCall& call, Arguments... arguments) {
    test::DiskObserver* const all = std::exchange(innermost, nullptr);
    const auto run = [all, call, arguments...] {
        const auto result = real<Result>(call.function.c_str(), arguments...);
        const int error = errno;
        for (auto* each = result == -1 ? nullptr : all; each != nullptr; each = each->outer)
            each->after(call, static_cast<int>(result));
        errno = error;
        return result;
    };
    int verdict = 0;
    for (auto* each = all; each != nullptr && verdict == 0; each = each->outer)
        verdict = each->before(call);
    Result result = verdict > 0 ? -1 : 0;
    int error = verdict;
    if (verdict == test::DiskObserver::put_off) {
        delayed = [run] { run(); };
        kept_open = call.descriptor;
    } else if (verdict == 0) {
        result = run();
        error = errno;
        if (const auto late = std::exchange(delayed, nullptr)) {
            kept_open = -1;
            for (auto* each = all; each != nullptr; each = each->outer)
                each->between();
            late();
        }
    }
    innermost = all;
    errno = error;
    return result;
}

// Returns the error with which an observer lets a call fail that changes nothing.
int error_of_look(const test::DiskCall& call) {
    test::DiskObserver* const all = std::exchange(innermost, nullptr);
    int error = 0;
    for (auto* each = all; each != nullptr && error == 0; each = each->outer)
        error = each->before_look(call);
    innermost = all;
    return error;
}

// Returns the name that a file has, without taking memory where case counts.
const char* spelling_of(int directory, const char* name) {
    thread_local std::array<char, NAME_MAX + 1> found;
    if (!is_case_ignored)
        return name;
    const int folder = real<int>("openat", directory, ".", O_RDONLY | O_DIRECTORY);
    DIR* const stream = fdopendir(folder);
    const char* result = name;
    while (const dirent* const entry = readdir(stream))
        if (strcasecmp(entry->d_name, name) == 0)
            result = strcpy(found.data(), entry->d_name);
    closedir(stream);
    return result;
}

} // namespace

test::IgnoredCase::IgnoredCase() {
    is_case_ignored = true;
}
test::IgnoredCase::~IgnoredCase() {
    is_case_ignored = false;
}

test::DiskObserver::DiskObserver() : outer(std::exchange(innermost, this)) {}
test::DiskObserver::~DiskObserver() {
    innermost = outer;
}

test::ReportedFileSystem::ReportedFileSystem(std::uint32_t type) {
    reported_file_system = type;
}
test::ReportedFileSystem::~ReportedFileSystem() {
    reported_file_system = 0;
}

extern "C" {
#pragma GCC visibility push(default)

int openat(int directory, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    path = spelling_of(directory, path);
    if ((flags & (O_CREAT | O_WRONLY | O_RDWR)) != 0)
        return observed<int>({"openat", directory, path}, directory, path, flags, mode);
    if (const int error = error_of_look({"openat", directory, path})) {
        errno = error;
        return -1;
    }
    return real<int>("openat", directory, path, flags, mode);
}
int fstatat(int directory, const char* path, struct stat* found, int flags) noexcept {
    if (const int error = error_of_look({"fstatat", directory, path})) {
        errno = error;
        return -1;
    }
    // With sizes of 64 bits, which the header asks for, it has another name where words have 32.
    constexpr const char* name = sizeof(long) == 4 ? "fstatat64" : "fstatat";
    return real<int>(name, directory, spelling_of(directory, path), found, flags);
}
int fstatfs(int file, struct statfs* found) noexcept {
    const int result = real<int>(sizeof(long) == 4 ? "fstatfs64" : "fstatfs", file, found);
    if (reported_file_system != 0)
        found->f_type = static_cast<decltype(found->f_type)>(reported_file_system);
    return result;
}
int close(int file) { // leaks it, as the call that is put off needs it
    return file == kept_open ? 0 : real<int>("close", file);
}
ssize_t write(int file, const void* bytes, size_t size) {
    return observed<ssize_t>({"write", file}, file, bytes, size);
}
int fchmod(int file, mode_t mode) {
    return observed<int>({"fchmod", file}, file, mode);
}
int fsync(int file) {
    return observed<int>({"fsync", file}, file);
}
int syncfs(int file) {
    return observed<int>({"syncfs", file}, file);
}
int mkdir(const char* path, mode_t mode) {
    return observed<int>({"mkdir", AT_FDCWD, path}, path, mode);
}
int mkdirat(int directory, const char* path, mode_t mode) {
    return observed<int>({"mkdirat", directory, path}, directory, path, mode);
}
int unlinkat(int directory, const char* path, int flags) {
    return observed<int>({"unlinkat", directory, path}, directory, path, flags);
}
int linkat(int from, const char* path, int to, const char* link, int flags) {
    return observed<int>({"linkat", to, link, from, path}, from, path, to, link, flags);
}
int renameat(int from, const char* path, int to, const char* name) {
    return observed<int>({"renameat", to, name, from, path}, from, path, to, name);
}

#pragma GCC visibility pop
}
