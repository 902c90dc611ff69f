#include "install/tree/file_system.hpp"

#include "install/tree/tree_error.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace install::tree {

namespace {

std::error_code last_error() noexcept {
    return {errno, std::system_category()};
}

// The code of a call that returns -1 where it fails.
std::error_code code_of(int result) noexcept {
    return result == -1 ? last_error() : std::error_code();
}

// Calls a function of the system until no signal interrupts it.
template <class Call>
auto uninterrupted(const Call& call) noexcept {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

// Returns no file, with errno set, on failure. Without O_NONBLOCK, opening a FIFO would wait for
// another process.
Descriptor open_at(int folder, const char* name, int flags, mode_t mode = 0) noexcept {
    const int all_flags = flags | O_CLOEXEC | O_NONBLOCK;
    return Descriptor(uninterrupted([&] { return openat(folder, name, all_flags, mode); }));
}

Descriptor open_directory(int folder, const char* name, int flags = 0) noexcept {
    return open_at(folder, name, O_RDONLY | O_DIRECTORY | flags);
}

FileStatus::Type type_of(mode_t mode) noexcept {
    if (S_ISREG(mode))
        return FileStatus::Type::regular;
    if (S_ISDIR(mode))
        return FileStatus::Type::directory;
    return S_ISLNK(mode) ? FileStatus::Type::link : FileStatus::Type::other;
}

std::error_code write_all(int file, std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const auto written =
            uninterrupted([&] { return ::write(file, bytes.data(), bytes.size()); });
        if (written < 0)
            return last_error();
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

// Calls `take` with the bytes of a file, piece by piece, until it returns an error.
template <class Take>
std::error_code read_pieces(int file, const Take& take) noexcept {
    std::array<char, 16384> buffer{};
    for (;;) {
        const auto count =
            uninterrupted([&] { return ::read(file, buffer.data(), buffer.size()); });
        if (count <= 0)
            return count == 0 ? std::error_code() : last_error();
        if (const auto code =
                take(std::string_view(buffer.data(), static_cast<std::size_t>(count))))
            return code;
    }
}

// Only a privileged process may give a file away. That may also clear permissions, which are
// therefore set after it.
std::error_code make_like(int file, const FileStatus& other) noexcept {
    if (other.owner != geteuid())
        static_cast<void>(fchown(file, other.owner, static_cast<gid_t>(-1)) == 0);
    if (other.group != getegid())
        static_cast<void>(fchown(file, static_cast<uid_t>(-1), other.group) == 0);
    return code_of(fchmod(file, other.permissions));
}

std::error_code copy_link(const Place& from, const Place& to) noexcept {
    std::array<char, PATH_MAX> target{};
    const auto size = readlinkat(from.folder, from.name, target.data(), target.size() - 1);
    return size < 0 ? last_error() : code_of(symlinkat(target.data(), to.folder, to.name));
}

std::string read_all(int file, std::size_t expected_size, const std::string& path) {
    std::string bytes(expected_size + 1, '\0'); // one more, so that the end is found at once
    for (std::size_t size = 0;;) {
        const auto count =
            uninterrupted([&] { return ::read(file, bytes.data() + size, bytes.size() - size); });
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

std::string_view folder_of(std::string_view name) noexcept {
    const auto separator = name.rfind('/');
    return name.substr(0, separator == std::string_view::npos ? 0 : separator);
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
    const Descriptor opened = open_directory(AT_FDCWD, parent.c_str());
    if (!opened.is_open())
        throw tree_error("open", parent, last_error());
    require(flush_descriptor(opened.number()), "flush", parent);
}

} // namespace

std::string parent_of(const std::string& path) {
    const auto separator = path.rfind('/');
    if (separator == std::string::npos)
        return {};
    return path.substr(0, separator == 0 ? 1 : separator);
}

void require(const std::error_code& code, const char* operation, const std::string& path) {
    if (code)
        throw tree_error(operation, path, code);
}

std::error_code flush_descriptor(int descriptor) noexcept {
    return code_of(uninterrupted([&] { return fsync(descriptor); }));
}

bool is_for_lack_of_links(const std::error_code& code) noexcept {
    const int error = code.value();
    return error == EPERM || error == EMLINK || error == EXDEV || error == ENOTSUP ||
           error == ENOSYS;
}

Descriptor::Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

Descriptor::~Descriptor() {
    close();
}

bool Descriptor::close() noexcept {
    // Not repeated: after an interruption the number is free already, or another thread's.
    return number_ < 0 || ::close(release()) == 0 || errno == EINTR;
}

int Descriptor::release() noexcept {
    return std::exchange(number_, -1);
}

std::error_code Place::look(FileStatus& status) const noexcept {
    struct stat found {};
    status = {};
    if (fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? std::error_code() : last_error();
    status.type = type_of(found.st_mode);
    status.size = static_cast<std::uint64_t>(found.st_size);
    status.device = found.st_dev;
    status.inode = found.st_ino;
    status.modified = std::int64_t(found.st_mtim.tv_sec) * 1'000'000'000 + found.st_mtim.tv_nsec;
    status.permissions = found.st_mode & 0777U;
    status.owner = found.st_uid;
    status.group = found.st_gid;
    return {};
}

std::error_code Place::link_to(const Place& other) const noexcept {
    return code_of(linkat(folder, name, other.folder, other.name, 0));
}

std::error_code Place::copy_to(const Place& other) const noexcept {
    FileStatus status;
    if (const auto code = look(status))
        return code;
    if (status.type == FileStatus::Type::link)
        return copy_link(*this, other);
    const Descriptor from = open_at(folder, name, O_RDONLY | O_NOFOLLOW);
    if (!from.is_open())
        return last_error();
    Descriptor to = open_at(other.folder, other.name, O_WRONLY | O_CREAT | O_EXCL, 0666);
    if (!to.is_open())
        return last_error();
    auto code = make_like(to.number(), status);
    if (!code)
        code = read_pieces(from.number(),
                           [&](std::string_view bytes) { return write_all(to.number(), bytes); });
    if (!code)
        code = flush_descriptor(to.number());
    return code;
}

std::error_code Place::rename_to(const Place& other) const noexcept {
    return code_of(renameat(folder, name, other.folder, other.name));
}

std::error_code Place::remove() const noexcept {
    const auto code = code_of(unlinkat(folder, name, 0));
    return code.value() == ENOENT ? std::error_code() : code;
}

std::error_code Place::remove_folder() const noexcept {
    const auto code = code_of(unlinkat(folder, name, AT_REMOVEDIR));
    return code.value() == ENOENT ? std::error_code() : code;
}

std::error_code Place::flush() const noexcept {
    FileStatus status;
    auto code = look(status);
    if (code || status.type != FileStatus::Type::regular)
        return code;
    const Descriptor file = open_at(folder, name, O_RDONLY | O_NOFOLLOW);
    return file.is_open() ? flush_descriptor(file.number()) : last_error();
}

std::error_code Place::compare(std::uint64_t size, const Digest& digest,
                               bool& is_equal) const noexcept {
    is_equal = false;
    FileStatus status;
    if (const auto code = look(status))
        return code;
    if (status.type != FileStatus::Type::regular || status.size != size)
        return {};
    const Descriptor file = open_at(folder, name, O_RDONLY | O_NOFOLLOW);
    if (!file.is_open())
        return last_error();
    Sha256 sum;
    const auto code = read_pieces(file.number(), [&](std::string_view bytes) {
        sum.add(bytes);
        return std::error_code();
    });
    is_equal = !code && sum.digest() == digest;
    return code;
}

std::error_code write_new(const Place& place, std::string_view bytes, const FileStatus* replaced,
                          bool starts_writing) noexcept {
    Descriptor file =
        open_at(place.folder, place.name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0666);
    if (!file.is_open())
        return last_error();
    if (replaced != nullptr)
        if (const auto code = make_like(file.number(), *replaced))
            return code;
    if (const auto code = write_all(file.number(), bytes))
        return code;
    if (starts_writing) // a help for the flush, which reports what fails
        static_cast<void>(sync_file_range(file.number(), 0, 0, SYNC_FILE_RANGE_WRITE) == 0);
    return file.close() ? std::error_code() : last_error(); // which may say that the disk is full
}

std::error_code Folders::find(std::string_view name, Missing missing, Place& place) noexcept {
    if (name.size() >= name_.size())
        return {ENAMETOOLONG, std::system_category()};
    if (!is_open(name))
        if (const auto code = open(folder_of(name), missing))
            return code;
    const std::size_t leaf = opened_ == 0 ? 0 : opened_ + 1;
    name_[name.copy(name_.data(), name_.size() - 1)] = '\0';
    place = {number(), &name_[leaf]};
    return {};
}

bool Folders::is_open(std::string_view name) const noexcept {
    return folder_of(name) == std::string_view(name_.data(), opened_);
}

int Folders::number() const noexcept {
    return folder_.is_open() ? folder_.number() : top_;
}

void Folders::close() noexcept {
    folder_.close();
    opened_ = 0;
}

// One component after the other: the system follows links in all but the last.
std::error_code Folders::open(std::string_view folder, Missing missing) noexcept {
    close();
    name_[folder.copy(name_.data(), name_.size() - 1)] = '\0';
    for (std::size_t begin = 0; begin < folder.size();) {
        const std::size_t end = std::min(folder.find('/', begin), folder.size());
        name_[end] = '\0';
        const char* const component = &name_[begin];
        const bool may_be_link =
            begin == 0 && followed_ != nullptr && std::string_view(component) == followed_;
        const int flags = may_be_link ? 0 : O_NOFOLLOW;
        Descriptor next = open_directory(number(), component, flags);
        if (!next.is_open() && errno == ENOENT && missing == Missing::is_created &&
            (mkdirat(number(), component, 0777) == 0 || errno == EEXIST))
            next = open_directory(number(), component, flags);
        if (!next.is_open())
            return last_error();
        folder_ = std::move(next);
        opened_ = end;
        name_[end] = '/';
        begin = end + 1;
    }
    return {};
}

Directory::Directory(Descriptor descriptor, std::string path, const char* followed)
    : descriptor_(std::move(descriptor)),
      path_(std::move(path)),
      followed_(followed),
      folders_(descriptor_.number(), followed) {}

Directory Directory::create(const std::string& path, const char* followed) {
    if (auto directory = open(path, followed))
        return std::move(*directory);
    make_durable_directory(path);
    if (auto directory = open(path, followed))
        return std::move(*directory);
    throw tree_error("open", path, std::error_code(ENOENT, std::system_category()));
}

std::optional<Directory> Directory::open(const std::string& path, const char* followed) {
    Descriptor descriptor = open_directory(AT_FDCWD, path.empty() ? "." : path.c_str());
    if (descriptor.is_open())
        return Directory(std::move(descriptor), path, followed);
    if (errno == ENOENT)
        return std::nullopt;
    throw tree_error("open", path, last_error());
}

Directory Directory::subdirectory(const std::string& name) const {
    Place place;
    Folders folders(number(), followed_);
    require(folders.find(name + "/.", Folders::Missing::is_error, place), "open", path_of(name));
    Descriptor descriptor = open_directory(place.folder, place.name);
    if (!descriptor.is_open())
        throw tree_error("open", path_of(name), last_error());
    return {std::move(descriptor), path_of(name), nullptr};
}

Directory Directory::make_subdirectory(const std::string& name) const {
    require(code_of(mkdirat(number(), name.c_str(), 0777)), "create", path_of(name));
    return subdirectory(name);
}

Descriptor Directory::duplicate() const {
    Descriptor descriptor(fcntl(number(), F_DUPFD_CLOEXEC, 0));
    require(code_of(descriptor.number()), "open", path_);
    return descriptor;
}

std::string Directory::path_of(const std::string& name) const {
    const bool is_joined = path_.empty() || path_.back() == '/' || name.empty();
    return path_ + (is_joined ? "" : "/") + name;
}

std::optional<Place> Directory::find(const std::string& name) const {
    Place place;
    const auto code = folders_.find(name, Folders::Missing::is_error, place);
    if (code.value() == ENOENT)
        return std::nullopt;
    require(code, "look at", path_of(name));
    return place;
}

FileStatus Directory::status(const std::string& name) const {
    FileStatus status;
    if (const auto place = find(name))
        require(place->look(status), "look at", path_of(name));
    return status;
}

bool Directory::has(const std::string& name) const {
    return status(name).type != FileStatus::Type::nothing;
}

std::vector<Directory::Entry> Directory::entries() const {
    // Opened anew, because the stream takes the descriptor over, with its position.
    Descriptor descriptor = open_directory(number(), ".");
    if (!descriptor.is_open())
        throw tree_error("open", path_, last_error());
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(fdopendir(descriptor.number()), closedir);
    if (!stream)
        throw tree_error("read", path_, last_error());
    descriptor.release();
    std::vector<Entry> entries;
    for (;;) {
        errno = 0;
        const dirent* const found = readdir(stream.get());
        if (found == nullptr && errno != 0)
            throw tree_error("read", path_, last_error());
        if (found == nullptr)
            return entries;
        const std::string_view name = found->d_name;
        if (name == "." || name == "..")
            continue;
        bool is_folder = found->d_type == DT_DIR;
        if (found->d_type == DT_UNKNOWN) { // some file systems do not say
            FileStatus status;
            require(Place{number(), found->d_name}.look(status), "look at",
                    path_of(std::string(name)));
            is_folder = status.type == FileStatus::Type::directory;
        }
        entries.push_back({std::string(name), is_folder});
    }
}

std::optional<std::string> Directory::read(const std::string& name) const {
    const auto place = find(name);
    if (!place)
        return std::nullopt;
    const Descriptor file = open_at(place->folder, place->name, O_RDONLY | O_NOFOLLOW);
    if (!file.is_open()) {
        if (errno == ENOENT)
            return std::nullopt;
        if (errno == ELOOP)
            throw tree_error("open", path_of(name), "This is a symbolic link.");
        throw tree_error("open", path_of(name), last_error());
    }
    struct stat found {};
    require(code_of(fstat(file.number(), &found)), "look at", path_of(name));
    if (!S_ISREG(found.st_mode))
        throw tree_error("open", path_of(name), "This is not a regular file.");
    return read_all(file.number(), static_cast<std::size_t>(found.st_size), path_of(name));
}

bool Directory::matches(const std::string& name, std::uint64_t size, const Digest& digest) const {
    bool is_equal = false;
    if (const auto place = find(name))
        require(place->compare(size, digest, is_equal), "read", path_of(name));
    return is_equal;
}

void Directory::remove_tree(const std::string& name,
                            const std::function<void()>& on_removal) const {
    const Place top = {number(), name.c_str()};
    FileStatus status;
    require(top.look(status), "look at", path_of(name));
    if (status.type != FileStatus::Type::directory)
        return require(top.remove(), "remove", path_of(name));
    std::vector<std::string> folders = folders_at(name);
    for (; !folders.empty(); folders.pop_back()) {
        const Directory folder = subdirectory(folders.back());
        for (const Entry& child : folder.entries()) {
            require(Place{folder.number(), child.name.c_str()}.remove(), "remove",
                    folder.path_of(child.name));
            if (on_removal)
                on_removal();
        }
        Folders parents(number());
        Place doomed;
        require(parents.find(folders.back(), Folders::Missing::is_error, doomed), "open",
                path_of(folders.back()));
        require(doomed.remove_folder(), "remove", path_of(folders.back()));
    }
}

// Returns the directory `name` and all below it, each before those in it. It takes no stack, so
// that they may be nested as deeply as the system allows.
std::vector<std::string> Directory::folders_at(const std::string& name) const {
    std::vector<std::string> folders = {name};
    for (std::size_t index = 0; index < folders.size(); ++index)
        for (const Entry& child : subdirectory(folders[index]).entries())
            if (child.is_folder)
                folders.push_back(folders[index] + '/' + child.name);
    return folders;
}

void Directory::flush() const {
    require(flush_descriptor(number()), "flush", path_);
}

void Directory::flush_folders() const {
    for (const std::string& name : folders_at("."))
        subdirectory(name).flush();
}

bool Directory::flush_file_system() const {
    const auto code = code_of(uninterrupted([&] { return syncfs(number()); }));
    if (code.value() != ENOSYS)
        require(code, "flush", path_);
    return !code;
}

} // namespace install::tree
