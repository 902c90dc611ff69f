#include "support/disk_calls.hpp"

#include <cerrno>
#include <cstdarg>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>

namespace {

thread_local constinit test::DiskObserver* disk_observer = nullptr;

template <class Result, class... Arguments>
Result real(const char* function, Arguments... arguments) {
    using Function = Result(Arguments...);
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, function))(arguments...);
}

// What the observer itself does is not observed.
template <class Result, class... Arguments>
Result observed(const char* function, int descriptor, const char* name, Arguments... arguments) {
    test::DiskObserver* const observer = std::exchange(disk_observer, nullptr);
    if (observer == nullptr)
        return real<Result>(function, arguments...);
    int error = observer->before(function);
    Result result = -1;
    if (error == 0) {
        result = real<Result>(function, arguments...);
        error = errno;
        const bool opens = name != nullptr && result > 0;
        if (result != -1)
            observer->after(function, opens ? static_cast<int>(result) : descriptor, name);
    }
    disk_observer = observer;
    errno = error;
    return result;
}

} // namespace

test::DiskObserver::DiskObserver() {
    disk_observer = this;
}
test::DiskObserver::~DiskObserver() {
    disk_observer = nullptr;
}

extern "C" {
#pragma GCC visibility push(default)

int openat(int directory, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return (flags & (O_CREAT | O_WRONLY | O_RDWR)) != 0
               ? observed<int>("openat", directory, path, directory, path, flags, mode)
               : real<int>("openat", directory, path, flags, mode);
}
ssize_t write(int file, const void* bytes, size_t size) {
    return observed<ssize_t>("write", file, nullptr, file, bytes, size);
}
int fchmod(int file, mode_t mode) {
    return observed<int>("fchmod", file, nullptr, file, mode);
}
int fsync(int file) {
    return observed<int>("fsync", file, nullptr, file);
}
int syncfs(int file) {
    return observed<int>("syncfs", file, nullptr, file);
}
int mkdir(const char* path, mode_t mode) {
    return observed<int>("mkdir", AT_FDCWD, path, path, mode);
}
int mkdirat(int directory, const char* path, mode_t mode) {
    return observed<int>("mkdirat", directory, path, directory, path, mode);
}
int unlinkat(int directory, const char* path, int flags) {
    return observed<int>("unlinkat", directory, path, directory, path, flags);
}
int linkat(int from, const char* path, int to, const char* link, int flags) {
    return observed<int>("linkat", to, link, from, path, to, link, flags);
}
int renameat(int from, const char* path, int to, const char* name) {
    return observed<int>("renameat", to, name, from, path, to, name);
}

#pragma GCC visibility pop
}
