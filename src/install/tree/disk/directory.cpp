#include "install/tree/disk/directory.hpp"

#include "install/tree/report/texts.hpp"
#include "install/tree/tree_error.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <memory>
#include <type_traits>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace install::tree {

namespace {

std::error_code last_error() noexcept {
    return {errno, std::system_category()};
}

std::string join(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + '/' + name;
}

tree_error missing(const char* operation, const std::string& path) {
    return {operation, path, std::error_code(ENOENT, std::system_category())};
}

// Throws unless a call of the system returned a success. `path` is there already, or a function
// that returns it, as nothing may fail after a success.
template <class Path>
void require_success(int result, const char* operation, const Path& path) {
    if (result != -1)
        return;
    const std::error_code code = last_error();
    if constexpr (std::is_invocable_v<Path>)
        throw tree_error(operation, path(), code);
    else
        throw tree_error(operation, path, code);
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

int flush_descriptor(int descriptor) noexcept {
    return uninterrupted([&] { return fsync(descriptor); });
}

FileStatus::Type type_of(mode_t mode) noexcept {
    if (S_ISREG(mode))
        return FileStatus::Type::regular;
    if (S_ISDIR(mode))
        return FileStatus::Type::directory;
    return S_ISLNK(mode) ? FileStatus::Type::link : FileStatus::Type::other;
}

std::int64_t nanoseconds(const timespec& time) noexcept {
    return std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

FileStatus status_of(const struct stat& found) noexcept {
    FileStatus status;
    status.type = type_of(found.st_mode);
    status.size = static_cast<std::uint64_t>(found.st_size);
    status.device = found.st_dev;
    status.inode = found.st_ino;
    status.modified = nanoseconds(found.st_mtim);
    status.changed = nanoseconds(found.st_ctim);
    status.permissions = found.st_mode & 0777U;
    status.owner = found.st_uid;
    status.group = found.st_gid;
    return status;
}

// Returns nothing, with errno set, on failure.
FileStatus status_of(int file) noexcept {
    struct stat found {};
    return fstat(file, &found) == 0 ? status_of(found) : FileStatus();
}

std::string user_name(std::uint32_t user) {
    passwd found{};
    passwd* result = nullptr;
    std::array<char, 4096> texts{};
    getpwuid_r(user, &found, texts.data(), texts.size(), &result);
    return result == nullptr ? "user " + std::to_string(user) : result->pw_name;
}

// Opens what a symbolic link to a directory leads to. Whoever may put links into a tree must not
// make another user work elsewhere, so that a link counts only if its owner could do that work,
// too.
Descriptor open_link(int folder, const std::string& name, const std::string& path) {
    const Descriptor link = open_at(folder, name.c_str(), O_PATH | O_NOFOLLOW);
    const FileStatus of_link = status_of(link.number());
    if (of_link.type != FileStatus::Type::link) {
        errno = ENOTDIR;
        return {};
    }
    std::array<char, PATH_MAX> text{};
    require_success(static_cast<int>(readlinkat(link.number(), "", text.data(), text.size() - 1)),
                    "read", path);
    std::string target = text.data();
    if (const std::string parent = parent_of(name); target[0] != '/' && !parent.empty())
        target.insert(0, parent + '/');
    Descriptor directory = open_directory(folder, target.c_str());
    if (directory.is_open() && of_link.owner != 0 && of_link.owner != geteuid() &&
        of_link.owner != status_of(directory.number()).owner)
        throw tree_error("open", path,
                         "This symbolic link belongs to " + user_name(of_link.owner) +
                             ", who does not own what it leads to.");
    return directory;
}

Descriptor open_directory_or_link(int folder, const std::string& name, const std::string& path) {
    Descriptor directory = open_directory(folder, name.c_str(), O_NOFOLLOW);
    const bool may_be_link = !directory.is_open() && (errno == ENOTDIR || errno == ELOOP);
    return may_be_link ? open_link(folder, name, path) : std::move(directory);
}

// Only a privileged process may give a file away. That may also clear permissions, which are
// therefore set after it.
int make_like(int file, const FileStatus& other, mode_t mask = 0777) noexcept {
    if (other.owner != geteuid())
        static_cast<void>(fchown(file, other.owner, static_cast<gid_t>(-1)) == 0);
    if (other.group != getegid())
        static_cast<void>(fchown(file, static_cast<uid_t>(-1), other.group) == 0);
    return fchmod(file, other.permissions & mask);
}

void write_all(int file, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const auto written =
            uninterrupted([&] { return ::write(file, bytes.data(), bytes.size()); });
        if (written < 0)
            throw tree_error("write", path, last_error());
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

// Calls `take` with the bytes of a file, piece by piece.
template <class Take>
void read_pieces(int file, const std::string& path, const Take& take) {
    std::array<char, 16384> buffer{};
    for (;;) {
        const auto count =
            uninterrupted([&] { return ::read(file, buffer.data(), buffer.size()); });
        if (count < 0)
            throw tree_error("read", path, last_error());
        if (count == 0)
            return;
        take(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
    }
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
    require_success(opened.number(), "open", parent);
    require_success(flush_descriptor(opened.number()), "flush", parent);
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
    close();
}

bool Descriptor::close() noexcept {
    // Not repeated: after an interruption the number is free already, or another thread's.
    return number_ < 0 || ::close(release()) == 0 || errno == EINTR;
}

int Descriptor::release() noexcept {
    return std::exchange(number_, -1);
}

Directory::Directory(Descriptor descriptor, std::string path, const char* followed)
    : descriptor_(std::move(descriptor)),
      path_(std::move(path)),
      followed_(followed) {}

Directory Directory::create(const std::string& path, const char* followed) {
    if (auto directory = open(path, followed))
        return std::move(*directory);
    make_durable_directory(path);
    if (auto directory = open(path, followed))
        return std::move(*directory);
    throw missing("open", path);
}

std::optional<Directory> Directory::open(const std::string& path, const char* followed) {
    Descriptor descriptor = open_directory_or_link(AT_FDCWD, path.empty() ? "." : path, path);
    if (descriptor.is_open())
        return Directory(std::move(descriptor), path, followed);
    if (errno == ENOENT)
        return std::nullopt;
    throw tree_error("open", path, last_error());
}

Directory Directory::subdirectory(const std::string& name) const {
    if (open_folders(name) != name.size())
        throw missing("open", path_of(name));
    Descriptor descriptor = open_directory(folder(), ".");
    require_success(descriptor.number(), "open", [&] { return path_of(name); });
    return {std::move(descriptor), path_of(name), nullptr};
}

std::string Directory::path_of(const std::string& name) const {
    const bool is_joined = path_.empty() || path_.back() == '/' || name.empty();
    return path_ + (is_joined ? "" : "/") + name;
}

int Directory::folder() const noexcept {
    return folder_.is_open() ? folder_.number() : number();
}

void Directory::close_folder() const noexcept {
    folder_.close();
    folder_name_.clear();
}

// Opens the folder `name`, one component after the other, as the system follows links in all but
// the last. Returns the length of that part of the name which exists, and is open.
std::size_t Directory::open_folders(std::string_view name) const {
    if (name.size() >= PATH_MAX) // as the system has it, so that nobody's folders take forever
        throw tree_error("open", path_of(std::string(name)),
                         std::error_code(ENAMETOOLONG, std::system_category()));
    const bool is_below = name.starts_with(folder_name_) &&
                          (name.size() == folder_name_.size() || name[folder_name_.size()] == '/');
    if (!is_below)
        close_folder();
    while (folder_name_.size() < name.size()) {
        const std::size_t begin = folder_name_.empty() ? 0 : folder_name_.size() + 1;
        const std::string component(name.substr(begin, name.find('/', begin) - begin));
        const std::string opened(name.substr(0, begin + component.size()));
        Descriptor next = begin == 0 && followed_ != nullptr && component == followed_
                              ? open_directory_or_link(folder(), component, path_of(opened))
                              : open_directory(folder(), component.c_str(), O_NOFOLLOW);
        if (!next.is_open() && errno == ENOENT)
            break;
        require_success(next.number(), "open", [&] { return path_of(opened); });
        folder_ = std::move(next);
        folder_name_ = opened;
    }
    return folder_name_.size();
}

// Returns the place of a name; nothing if one of its folders does not exist.
std::optional<Directory::Place> Directory::find(const std::string& name) const {
    const auto separator = name.rfind('/');
    const std::size_t size = separator == std::string::npos ? 0 : separator;
    const bool is_open = folder_name_.size() == size && name.starts_with(folder_name_);
    if (!is_open && open_folders(std::string_view(name).substr(0, size)) != size)
        return std::nullopt;
    return Place{folder(), name.c_str() + (size == 0 ? 0 : size + 1)};
}

Directory::Place Directory::place_of(const std::string& name, const char* operation) const {
    const auto place = find(name);
    if (!place)
        throw missing(operation, path_of(name));
    return *place;
}

FileStatus Directory::status(const std::string& name) const {
    struct stat found {};
    const auto place = find(name);
    if (!place)
        return {};
    if (fstatat(place->folder, place->name, &found, AT_SYMLINK_NOFOLLOW) == 0)
        return status_of(found);
    if (errno == ENOENT)
        return {};
    throw tree_error("look at", path_of(name), last_error());
}

FileStatus Directory::status_or_nothing(const std::string& name) const {
    try {
        return status(name);
    } catch (const tree_error& error) {
        const int code = error.code().value();
        if (code == ENOTDIR || code == ELOOP || code == ENAMETOOLONG)
            return {};
        throw;
    }
}

std::string Directory::missing_folder(const std::string& name) const {
    const std::string all = parent_of(name);
    const std::size_t opened = open_folders(all);
    return opened == all.size() ? std::string() : all.substr(0, all.find('/', opened + 1));
}

std::vector<Directory::Entry> Directory::entries(const std::string& name) const {
    if (open_folders(name) != name.size())
        throw missing("open", path_of(name));
    // Opened anew, because the stream takes the descriptor over, with its position.
    Descriptor descriptor = open_directory(folder(), ".");
    require_success(descriptor.number(), "open", [&] { return path_of(name); });
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(fdopendir(descriptor.number()), closedir);
    if (!stream)
        throw tree_error("read", path_of(name), last_error());
    descriptor.release();
    std::vector<Entry> entries;
    for (;;) {
        errno = 0;
        const dirent* const found = readdir(stream.get());
        if (found == nullptr && errno != 0)
            throw tree_error("read", path_of(name), last_error());
        if (found == nullptr)
            return entries;
        const std::string child = found->d_name;
        if (child == "." || child == "..")
            continue;
        const bool is_folder = found->d_type == DT_UNKNOWN // some file systems do not say
                                   ? status(join(name, child)).type == FileStatus::Type::directory
                                   : found->d_type == DT_DIR;
        entries.push_back({child, is_folder});
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
    const FileStatus found = status_of(file.number());
    if (!found.is_there())
        throw tree_error("look at", path_of(name), last_error());
    if (found.type != FileStatus::Type::regular)
        throw tree_error("open", path_of(name), not_regular);
    return read_all(file.number(), static_cast<std::size_t>(found.size), path_of(name));
}

bool Directory::matches(const std::string& name, const FileRecord& record) const {
    const FileStatus found = status(name);
    if (found.type != FileStatus::Type::regular || found.size != record.size || !record.digest)
        return false;
    const Place place = place_of(name, "read");
    const Descriptor file = open_at(place.folder, place.name, O_RDONLY | O_NOFOLLOW);
    require_success(file.number(), "read", [&] { return path_of(name); });
    Sha256 sum;
    read_pieces(file.number(), path_of(name), [&](std::string_view bytes) { sum.add(bytes); });
    return sum.digest() == record.digest;
}

void Directory::make_folders(const std::string& name, const FileStatus* like) const {
    for (std::size_t opened = 0; (opened = open_folders(name)) < name.size();) {
        const std::size_t begin = opened == 0 ? 0 : opened + 1;
        const std::size_t end = std::min(name.find('/', begin), name.size());
        const std::string path = path_of(name.substr(0, end));
        const std::string component = name.substr(begin, end - begin);
        const bool is_made = mkdirat(folder(), component.c_str(), 0777) == 0;
        require_success(is_made || errno == EEXIST ? 0 : -1, "create", path);
        if (!is_made || like == nullptr)
            continue;
        const Descriptor made = open_directory(folder(), component.c_str(), O_NOFOLLOW);
        require_success(made.number(), "open", path);
        require_success(make_like(made.number(), *like), "create", path);
    }
}

void Directory::write_new(const std::string& name, std::string_view bytes, const FileStatus* like,
                          bool starts_writing) const {
    const Place place = place_of(name, "create");
    const std::string path = path_of(name);
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
    Descriptor file = open_at(place.folder, place.name, flags, 0666);
    require_success(file.number(), "create", path);
    if (like != nullptr) {
        const bool is_folder = like->type == FileStatus::Type::directory;
        require_success(make_like(file.number(), *like, is_folder ? 0666 : 0777), "create", path);
    }
    write_all(file.number(), bytes, path);
    if (starts_writing) // a help for the flush, which reports what fails
        static_cast<void>(sync_file_range(file.number(), 0, 0, SYNC_FILE_RANGE_WRITE) == 0);
    if (!file.close()) // which may say that the disk is full
        throw tree_error("write", path, last_error());
}

void Directory::link_or_copy(const std::string& name, const Directory& other,
                             const std::string& other_name) const {
    const Place from = place_of(name, "copy");
    const Place to = other.place_of(other_name, "create");
    // File systems without links, and rights that forbid one, say so in many ways.
    if (linkat(from.folder, from.name, to.folder, to.name, 0) != 0)
        copy(name, other, other_name);
}

void Directory::copy(const std::string& name, const Directory& other,
                     const std::string& other_name) const {
    const Place from = place_of(name, "copy");
    const Place to = other.place_of(other_name, "create");
    const std::string path = path_of(name);
    const FileStatus found = status(name);
    if (found.type == FileStatus::Type::link) {
        std::array<char, PATH_MAX> text{};
        require_success(
            static_cast<int>(readlinkat(from.folder, from.name, text.data(), text.size() - 1)),
            "read", path);
        return require_success(symlinkat(text.data(), to.folder, to.name), "copy", path);
    }
    const Descriptor source = open_at(from.folder, from.name, O_RDONLY | O_NOFOLLOW);
    require_success(source.number(), "copy", path);
    Descriptor target = open_at(to.folder, to.name, O_WRONLY | O_CREAT | O_EXCL, 0666);
    const std::string target_path = other.path_of(other_name);
    require_success(target.number(), "create", target_path);
    require_success(make_like(target.number(), found), "create", target_path);
    read_pieces(source.number(), path,
                [&](std::string_view bytes) { write_all(target.number(), bytes, target_path); });
    require_success(flush_descriptor(target.number()), "flush", target_path);
}

void Directory::rename(const std::string& name, const Directory& other,
                       const std::string& other_name) const {
    const Place from = place_of(name, "rename");
    const Place to = other.place_of(other_name, "write");
    require_success(renameat(from.folder, from.name, to.folder, to.name), "write",
                    [&] { return other.path_of(other_name); });
}

void Directory::remove(const std::string& name) const {
    const auto place = find(name);
    if (place && unlinkat(place->folder, place->name, 0) != 0 && errno != ENOENT)
        throw tree_error("remove", path_of(name), last_error());
}

void Directory::remove_empty_folder(const std::string& name) const {
    const auto place = find(name);
    if (place && unlinkat(place->folder, place->name, AT_REMOVEDIR) != 0 && errno != ENOENT &&
        errno != ENOTEMPTY && errno != EEXIST && errno != ENOTDIR)
        throw tree_error("remove", path_of(name), last_error());
}

void Directory::remove_tree(const std::string& name,
                            const std::function<void()>& on_removal) const {
    if (status(name).type != FileStatus::Type::directory)
        return remove(name);
    std::vector<std::string> folders = folders_at(name);
    for (; !folders.empty(); folders.pop_back()) {
        for (const Entry& child : entries(folders.back())) {
            remove(join(folders.back(), child.name));
            if (on_removal)
                on_removal();
        }
        const Place place = place_of(folders.back(), "remove");
        require_success(unlinkat(place.folder, place.name, AT_REMOVEDIR), "remove",
                        [&] { return path_of(folders.back()); });
    }
}

// Returns the directory `name` and all below it, each before those in it. It takes no stack, so
// that they may be nested as deeply as the system allows.
std::vector<std::string> Directory::folders_at(const std::string& name) const {
    std::vector<std::string> folders = {name};
    for (std::size_t index = 0; index < folders.size(); ++index)
        for (const Entry& child : entries(folders[index]))
            if (child.is_folder)
                folders.push_back(join(folders[index], child.name));
    return folders;
}

void Directory::flush_all_folders() const {
    for (const std::string& name : folders_at(""))
        flush_folder(name);
}

void Directory::flush_folder(const std::string& name) const {
    if (open_folders(name) != name.size())
        throw missing("open", path_of(name));
    require_success(flush_descriptor(folder()), "flush", [&] { return path_of(name); });
}

bool Directory::flush_file(const std::string& name) const {
    if (status(name).type != FileStatus::Type::regular)
        return true;
    const Place place = place_of(name, "flush");
    const Descriptor file = open_at(place.folder, place.name, O_RDONLY | O_NOFOLLOW);
    if (!file.is_open() && errno == EACCES)
        return false;
    require_success(file.number(), "open", [&] { return path_of(name); });
    require_success(flush_descriptor(file.number()), "flush", [&] { return path_of(name); });
    return true;
}

bool Directory::flush_file_system() const {
    if (uninterrupted([&] { return syncfs(number()); }) == 0)
        return true;
    if (errno == ENOSYS)
        return false;
    throw tree_error("flush", path_, last_error());
}

} // namespace install::tree
