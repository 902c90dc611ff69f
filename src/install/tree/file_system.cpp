#include "install/tree/file_system.hpp"

#include "install/tree/tree_error.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace install::tree {

namespace {

std::error_code last_error() {
    return {errno, std::system_category()};
}

// Calls a function of the system until no signal interrupts it.
template <class Call>
auto uninterrupted(const Call& call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

std::optional<FileStatus> status_at(int directory, const std::string& name, const std::string& path,
                                    int flags) {
    struct stat found {};
    if (fstatat(directory, name.c_str(), &found, flags) != 0) {
        if (errno == ENOENT)
            return std::nullopt;
        throw tree_error("look at", path, last_error());
    }
    FileStatus status;
    if (S_ISREG(found.st_mode))
        status.type = FileStatus::Type::regular;
    else if (S_ISDIR(found.st_mode))
        status.type = FileStatus::Type::directory;
    status.size = static_cast<std::uint64_t>(found.st_size);
    status.device = found.st_dev;
    status.mode = found.st_mode & 07777U;
    status.owner = found.st_uid;
    status.group = found.st_gid;
    return status;
}

void flush_descriptor(int descriptor, const std::string& path) {
    if (uninterrupted([&] { return fsync(descriptor); }) != 0)
        throw tree_error("flush", path, last_error());
}

void write_all(int descriptor, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const auto written =
            uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (written < 0)
            throw tree_error("write", path, last_error());
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

// Returns the size of an open file, which must be a regular one.
std::size_t regular_size(int descriptor, const std::string& path) {
    struct stat found {};
    if (fstat(descriptor, &found) != 0)
        throw tree_error("look at", path, last_error());
    if (!S_ISREG(found.st_mode))
        throw tree_error("open", path, "This is not a regular file.");
    return static_cast<std::size_t>(found.st_size);
}

std::string read_all(int descriptor, std::size_t expected_size, const std::string& path) {
    std::string bytes(expected_size + 1, '\0'); // one more, so that the end is found at once
    for (std::size_t size = 0;;) {
        const auto count = uninterrupted(
            [&] { return ::read(descriptor, bytes.data() + size, bytes.size() - size); });
        if (count < 0)
            throw tree_error("read", path, last_error());
        if (count == 0) {
            bytes.resize(size);
            return bytes;
        }
        size += static_cast<std::size_t>(count);
        if (size == bytes.size())
            bytes.resize(2 * size);
    }
}

// Returns no file, with errno set, on failure.
Descriptor open_directory(int directory, const std::string& name, int flags = 0) {
    const int all_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags;
    return Descriptor(uninterrupted([&] { return openat(directory, name.c_str(), all_flags); }));
}

// Makes a directory and its parents. A new name is durable once the directory that has it is.
void make_durable_directory(const std::string& path) {
    if (::mkdir(path.c_str(), 0777) != 0) {
        if (errno == EEXIST)
            return; // or something else is there, which opening it reports
        if (errno != ENOENT || parent_of(path).empty())
            throw tree_error("create", path, last_error());
        make_durable_directory(parent_of(path));
        if (::mkdir(path.c_str(), 0777) != 0 && errno != EEXIST)
            throw tree_error("create", path, last_error());
    }
    const std::string parent = parent_of(path).empty() ? "." : parent_of(path);
    const Descriptor opened = open_directory(AT_FDCWD, parent);
    if (opened.number() < 0)
        throw tree_error("open", parent, last_error());
    flush_descriptor(opened.number(), parent);
}

} // namespace

std::string parent_of(const std::string& path) {
    const auto separator = path.rfind('/');
    if (separator == std::string::npos)
        return {};
    return path.substr(0, separator == 0 ? 1 : separator);
}

Descriptor::Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

Descriptor::~Descriptor() {
    static_cast<void>(close());
}

bool Descriptor::close() noexcept {
    // Not repeated: after an interruption the number is free already, or another thread's.
    return number_ < 0 || ::close(release()) == 0 || errno == EINTR;
}

int Descriptor::release() noexcept {
    return std::exchange(number_, -1);
}

Directory::Directory(Descriptor descriptor, std::string path)
    : descriptor_(std::move(descriptor)),
      path_(std::move(path)) {}

Directory Directory::create(const std::string& path) {
    if (auto directory = open(path))
        return std::move(*directory);
    make_durable_directory(path);
    if (auto directory = open(path))
        return std::move(*directory);
    throw tree_error("open", path, std::error_code(ENOENT, std::system_category()));
}

std::optional<Directory> Directory::open(const std::string& path) {
    Descriptor descriptor = open_directory(AT_FDCWD, path.empty() ? "." : path);
    if (descriptor.number() >= 0)
        return Directory(std::move(descriptor), path);
    if (errno == ENOENT)
        return std::nullopt;
    throw tree_error("open", path, last_error());
}

// One component after the other: the system follows links in all but the last.
Directory Directory::subdirectory(const std::string& name) const {
    if (name.size() >= PATH_MAX)
        throw tree_error("open", path_of(name),
                         std::error_code(ENAMETOOLONG, std::system_category()));
    Descriptor descriptor = open_directory(descriptor_.number(), ".");
    for (std::size_t begin = 0; begin < name.size() && descriptor.number() >= 0;) {
        const std::size_t end = std::min(name.find('/', begin), name.size());
        if (end > begin)
            descriptor =
                open_directory(descriptor.number(), name.substr(begin, end - begin), O_NOFOLLOW);
        begin = end + 1;
    }
    if (descriptor.number() < 0)
        throw tree_error("open", path_of(name), last_error());
    return {std::move(descriptor), path_of(name)};
}

Directory Directory::followed_subdirectory(const std::string& name) const {
    Descriptor descriptor = open_directory(descriptor_.number(), name.empty() ? "." : name);
    if (descriptor.number() < 0)
        throw tree_error("open", path_of(name), last_error());
    return {std::move(descriptor), path_of(name)};
}

std::string Directory::path_of(const std::string& name) const {
    const bool is_joined = path_.empty() || path_.back() == '/' || name.empty();
    return path_ + (is_joined ? "" : "/") + name;
}

std::optional<FileStatus> Directory::status(const std::string& name) const {
    return status_at(descriptor_.number(), name, path_of(name), 0);
}

std::optional<FileStatus> Directory::link_status(const std::string& name) const {
    return status_at(descriptor_.number(), name, path_of(name), AT_SYMLINK_NOFOLLOW);
}

void Directory::require_writable(const std::string& name) const {
    const std::string path = name.empty() ? "." : name;
    if (faccessat(descriptor_.number(), path.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        throw tree_error("write to", path_of(name), last_error());
}

std::vector<std::string> Directory::names() const {
    // Opened anew, because the stream takes the descriptor over, with its position.
    Descriptor descriptor = open_directory(descriptor_.number(), ".");
    if (descriptor.number() < 0)
        throw tree_error("open", path_, last_error());
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(fdopendir(descriptor.number()), closedir);
    if (!stream)
        throw tree_error("read", path_, last_error());
    descriptor.release();
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* const entry = readdir(stream.get());
        if (entry == nullptr && errno != 0)
            throw tree_error("read", path_, last_error());
        if (entry == nullptr)
            return names;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
    }
}

std::optional<std::string> Directory::read(const std::string& name) const {
    // Without O_NONBLOCK, opening a FIFO would wait for another process.
    Descriptor file(uninterrupted([&] {
        return openat(descriptor_.number(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    }));
    if (file.number() < 0) {
        if (errno == ENOENT && !link_status(name))
            return std::nullopt;
        throw tree_error("open", path_of(name), last_error());
    }
    return read_all(file.number(), regular_size(file.number(), path_of(name)), path_of(name));
}

Descriptor Directory::open_lock(const std::string& name) const {
    Descriptor file(uninterrupted([&] {
        return openat(descriptor_.number(), name.c_str(),
                      O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0666);
    }));
    if (file.number() < 0)
        throw tree_error("open", path_of(name), last_error());
    static_cast<void>(regular_size(file.number(), path_of(name)));
    return file;
}

void Directory::write_new(const std::string& name, std::string_view bytes,
                          const std::optional<FileStatus>& replaced) const {
    const auto open_new = [&] {
        return openat(descriptor_.number(), name.c_str(),
                      O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    };
    Descriptor file(uninterrupted(open_new));
    if (file.number() < 0 && errno == ENOENT) {
        make_parents(name);
        file = Descriptor(uninterrupted(open_new));
    }
    if (file.number() < 0)
        throw tree_error("create", path_of(name), last_error());
    if (replaced) {
        // Only a privileged process may give a file away, so that this may fail. It may also clear
        // permissions, which are therefore set after it.
        if (replaced->owner != geteuid() || replaced->group != getegid())
            static_cast<void>(fchown(file.number(), replaced->owner, replaced->group) == 0);
        if (fchmod(file.number(), replaced->mode) != 0)
            throw tree_error("set the mode of", path_of(name), last_error());
    }
    write_all(file.number(), bytes, path_of(name));
    if (!file.close()) // where some file systems report that the disk is full
        throw tree_error("close", path_of(name), last_error());
}

void Directory::link_or_copy(const std::string& name, const std::string& link) const {
    const int here = descriptor_.number();
    make_parents(link);
    if (linkat(here, name.c_str(), here, link.c_str(), AT_SYMLINK_FOLLOW) == 0)
        return;
    const bool has_no_links =
        errno == EPERM || errno == EMLINK || errno == EXDEV || errno == ENOTSUP || errno == ENOSYS;
    if (!has_no_links)
        throw tree_error("link", path_of(name), last_error());
    if (const auto bytes = read(name))
        write_new(link, *bytes, status(name));
}

void Directory::make_directory(const std::string& name) const {
    if (mkdirat(descriptor_.number(), name.c_str(), 0777) != 0)
        throw tree_error("create", path_of(name), last_error());
}

void Directory::make_parents(const std::string& name) const {
    const std::string parent = parent_of(name);
    if (parent.empty() || mkdirat(descriptor_.number(), parent.c_str(), 0777) == 0 ||
        errno == EEXIST)
        return;
    if (errno != ENOENT)
        throw tree_error("create", path_of(parent), last_error());
    make_parents(parent);
    make_directory(parent);
}

void Directory::rename(const std::string& from, const Directory& to_directory,
                       const std::string& to) const {
    if (renameat(descriptor_.number(), from.c_str(), to_directory.descriptor_.number(),
                 to.c_str()) != 0)
        throw tree_error("rename", path_of(from), last_error());
}

void Directory::remove_file(const std::string& name) const {
    if (unlinkat(descriptor_.number(), name.c_str(), 0) != 0 && errno != ENOENT)
        throw tree_error("remove", path_of(name), last_error());
}

void Directory::remove_tree(const std::string& name) const {
    const auto found = link_status(name);
    if (!found || found->type != FileStatus::Type::directory)
        return remove_file(name);
    std::vector<std::string> folders = folders_at(name);
    for (; !folders.empty(); folders.pop_back()) {
        const Directory folder = subdirectory(folders.back());
        for (const std::string& child : folder.names())
            folder.remove_file(child);
        const Directory parent = subdirectory(parent_of(folders.back()));
        const std::string doomed = folders.back().substr(folders.back().rfind('/') + 1);
        if (unlinkat(parent.descriptor_.number(), doomed.c_str(), AT_REMOVEDIR) != 0)
            throw tree_error("remove", path_of(folders.back()), last_error());
    }
}

// Returns the directory `name` and all below it, each before those in it. It takes no stack, so
// that they may be nested as deeply as the system allows.
std::vector<std::string> Directory::folders_at(const std::string& name) const {
    std::vector<std::string> folders = {name};
    for (std::size_t index = 0; index < folders.size(); ++index) {
        const Directory folder = subdirectory(folders[index]);
        for (const std::string& child : folder.names()) {
            const auto found = folder.link_status(child);
            if (found && found->type == FileStatus::Type::directory)
                folders.push_back(folders[index] + '/' + child);
        }
    }
    return folders;
}

void Directory::flush() const {
    flush_descriptor(descriptor_.number(), path_);
}

void Directory::flush_all(const std::string& name) const {
    if (uninterrupted([&] { return syncfs(descriptor_.number()); }) == 0)
        return;
    if (errno != ENOSYS)
        throw tree_error("flush", path_of(name), last_error());
    for (const std::string& folder : folders_at(name))
        subdirectory(folder).flush_files();
    flush();
}

void Directory::flush_files() const {
    for (const std::string& name : names()) {
        const auto found = link_status(name);
        if (found && found->type == FileStatus::Type::directory)
            continue;
        const Descriptor file(uninterrupted([&] {
            return openat(descriptor_.number(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        }));
        if (file.number() < 0)
            throw tree_error("open", path_of(name), last_error());
        flush_descriptor(file.number(), path_of(name));
    }
    flush();
}

namespace {

// A process that has just taken the lock may not have left its number yet.
std::int64_t owner_of(int lock) {
    std::array<char, 24> text{};
    const auto size = pread(lock, text.data(), text.size(), 0);
    std::int64_t process = 0;
    if (size > 0)
        std::from_chars(text.data(), text.data() + size, process);
    return process;
}

// Only a help for those who wait, so that a failure does not matter.
void leave_owner(int lock) {
    const std::string text = std::to_string(getpid()) + '\n';
    if (ftruncate(lock, 0) == 0)
        static_cast<void>(pwrite(lock, text.data(), text.size(), 0) > 0);
}

} // namespace

FileLock::FileLock(const Directory& directory, const std::string& name, const Observer& on_wait) {
    const std::string path = directory.path_of(name);
    descriptor_ = directory.open_lock(name);
    const int lock = descriptor_.number();
    if (uninterrupted([&] { return flock(lock, LOCK_EX | LOCK_NB); }) != 0) {
        if (errno != EWOULDBLOCK)
            throw tree_error("lock", path, last_error());
        if (on_wait)
            on_wait(owner_of(lock));
        if (uninterrupted([&] { return flock(lock, LOCK_EX); }) != 0)
            throw tree_error("lock", path, last_error());
    }
    leave_owner(lock);
}

} // namespace install::tree
