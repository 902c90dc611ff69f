#include "install/tree/disk/directory.hpp"

#include "install/tree/report/texts.hpp"
#include "install/tree/tree_error.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace install::tree {

namespace {

std::error_code last_error() noexcept {
    return {errno, std::system_category()};
}

std::string child_of(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + '/' + name;
}

tree_error missing(const char* operation, const std::string& path) {
    return {operation, path, std::error_code(ENOENT, std::system_category())};
}

// Throws unless a call of the system returned a success.
void require_success(int result, const char* operation, const std::string& path) {
    if (result == -1)
        throw tree_error(operation, path, last_error());
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
    status.permissions = found.st_mode & (S_ISDIR(found.st_mode) ? 02777U : 0777U);
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

std::string text_of_link(int folder, const char* name, const std::string& path) {
    std::array<char, PATH_MAX> text{};
    const auto size = readlinkat(folder, name, text.data(), text.size() - 1);
    require_success(size < 0 ? -1 : 0, "read", path);
    return text.data();
}

// Opens what a symbolic link to a directory leads to. Whoever may put links into a tree must not
// make another user work elsewhere, so that a link counts only if its owner could do that work,
// too.
Descriptor open_link(int folder, const std::string& name, const std::string& path) {
    const Descriptor link = open_at(folder, name.c_str(), O_PATH | O_NOFOLLOW);
    const FileStatus of_link = status_of(link.number());
    if (of_link.type != FileStatus::Type::link) {
        errno = ENOTDIR;
        return Descriptor();
    }
    std::string target = text_of_link(link.number(), "", path);
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
int make_like(int file, const FileStatus& other, mode_t mask = 02777) noexcept {
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

std::string read_all(int file, std::uint64_t expected_size, const std::string& path) {
    std::string bytes(static_cast<std::size_t>(expected_size) + 1,
                      '\0'); // one more, so that the end is found at once
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

} // namespace

std::string parent_of(const std::string& path) {
    const auto separator = path.rfind('/');
    return path.substr(0, separator == std::string::npos ? 0 : separator == 0 ? 1 : separator);
}

bool Descriptor::close() noexcept {
    // Not repeated: after an interruption the number is free already, or another thread's.
    return number_ < 0 || ::close(release()) == 0 || errno == EINTR;
}

// A new name is durable once the directory that has it is.
void Directory::create(const std::string& path) {
    const std::string parent = parent_of(path).empty() ? "." : parent_of(path);
    int result = ::mkdir(path.c_str(), 0777);
    if (result != 0 && errno == ENOENT && parent != path && parent != ".") {
        create(parent);
        result = ::mkdir(path.c_str(), 0777);
    }
    if (result != 0 && errno == EEXIST)
        return; // or something else is there, which opening it reports
    require_success(result, "create", path);
    const Descriptor opened = open_directory(AT_FDCWD, parent.c_str());
    require_success(opened.number(), "open", parent);
    require_success(flush_descriptor(opened.number()), "flush", parent);
}

std::optional<Directory> Directory::open(const std::string& path, const char* followed) {
    Descriptor descriptor = open_directory_or_link(AT_FDCWD, path.empty() ? "." : path, path);
    if (descriptor.is_open())
        return Directory(std::move(descriptor), path, followed);
    if (errno == ENOENT)
        return std::nullopt;
    throw tree_error("open", path, last_error());
}

// The path is made after a failure alone.
void Directory::require(int result, const char* operation, const std::string& name) const {
    if (result == -1) {
        const std::error_code code = last_error();
        throw tree_error(operation, path_of(name), code);
    }
}

Directory Directory::subdirectory(const std::string& name) const {
    Descriptor descriptor = open_directory(open_folder(name), ".");
    require(descriptor.number(), "open", name);
    return {std::move(descriptor), path_of(name), nullptr};
}

std::string Directory::path_of(const std::string& name) const {
    const bool is_joined = path_.empty() || path_.back() == '/' || name.empty();
    return path_ + (is_joined ? "" : "/") + name;
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
        require(next.number(), "open", opened);
        folder_ = std::move(next);
        folder_name_ = opened;
    }
    return folder_name_.size();
}

// Opens the folder `name`, and keeps it open.
int Directory::open_folder(const std::string& name) const {
    if (open_folders(name) != name.size())
        throw missing("open", path_of(name));
    return folder();
}

// Opens the regular file `name`.
Descriptor Directory::open_file(const std::string& name) const {
    const Place place = place_of(name, "open");
    Descriptor file = open_at(place.folder, place.name, O_RDONLY | O_NOFOLLOW);
    require(file.number(), "open", name);
    if (status_of(file.number()).type != FileStatus::Type::regular)
        throw tree_error("open", path_of(name), not_regular_text);
    return file;
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
    // Opened anew, because the stream takes the descriptor over, with its position.
    Descriptor descriptor = open_directory(open_folder(name), ".");
    require(descriptor.number(), "open", name);
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
        const bool is_folder =
            found->d_type == DT_UNKNOWN // some file systems do not say
                ? status(child_of(name, child)).type == FileStatus::Type::directory
                : found->d_type == DT_DIR;
        entries.push_back({child, is_folder});
    }
}

std::optional<std::string> Directory::read(const std::string& name) const {
    const FileStatus found = status(name);
    if (!found.is_there())
        return std::nullopt;
    return read_all(open_file(name).number(), found.size, path_of(name));
}

bool Directory::matches(const std::string& name, const FileRecord& record) const {
    const FileStatus found = status(name);
    if (found.type != FileStatus::Type::regular || found.size != record.size || !record.digest)
        return false;
    return sha256(read_all(open_file(name).number(), found.size, path_of(name))) == record.digest;
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
                             const std::string& other_name, const FileStatus* folders_like) const {
    other.make_folders(parent_of(other_name), folders_like);
    const Place from = place_of(name, "copy");
    const Place to = other.place_of(other_name, "create");
    // File systems without links, and rights that forbid one, say so in many ways.
    if (linkat(from.folder, from.name, to.folder, to.name, 0) != 0)
        copy(name, other, other_name);
}

void Directory::copy(const std::string& name, const Directory& other,
                     const std::string& other_name) const {
    const Place to = other.place_of(other_name, "create");
    const FileStatus found = status(name);
    if (found.type == FileStatus::Type::link) {
        const Place from = place_of(name, "copy");
        const std::string text = text_of_link(from.folder, from.name, path_of(name));
        return other.require(symlinkat(text.c_str(), to.folder, to.name), "create", other_name);
    }
    const std::string bytes = read_all(open_file(name).number(), found.size, path_of(name));
    other.write_new(other_name, bytes, &found, true);
    static_cast<void>(other.flush_file(other_name));
}

void Directory::rename(const std::string& name, const Directory& other,
                       const std::string& other_name) const {
    const Place from = place_of(name, "rename");
    const Place to = other.place_of(other_name, "write");
    other.require(renameat(from.folder, from.name, to.folder, to.name), "write", other_name);
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
            remove(child_of(folders.back(), child.name));
            if (on_removal)
                on_removal();
        }
        const Place place = place_of(folders.back(), "remove");
        require(unlinkat(place.folder, place.name, AT_REMOVEDIR), "remove", folders.back());
    }
}

// Returns the directory `name` and all below it, each before those in it. It takes no stack, so
// that they may be nested as deeply as the system allows.
std::vector<std::string> Directory::folders_at(const std::string& name) const {
    std::vector<std::string> folders = {name};
    for (std::size_t index = 0; index < folders.size(); ++index)
        for (const Entry& child : entries(folders[index]))
            if (child.is_folder)
                folders.push_back(child_of(folders[index], child.name));
    return folders;
}

void Directory::flush_all_folders() const {
    for (const std::string& name : folders_at(""))
        flush_folder(name);
}

void Directory::flush_folder(const std::string& name) const {
    require(flush_descriptor(open_folder(name)), "flush", name);
}

bool Directory::flush_file(const std::string& name) const try {
    if (status(name).type == FileStatus::Type::regular)
        require(flush_descriptor(open_file(name).number()), "flush", name);
    return true;
} catch (const tree_error& error) {
    if (error.code() != std::errc::permission_denied)
        throw;
    return false;
}

// The system does not pass the call on to a program that has the files, and returns a success.
bool Directory::flush_file_system() const {
    if (is_on_fuse())
        return false;
    const int result = uninterrupted([&] { return syncfs(number()); });
    if (result != 0 && errno == ENOSYS)
        return false;
    require(result, "flush", "");
    return true;
}

std::uint32_t Directory::file_system_type() const {
    struct statfs found {};
    require(uninterrupted([&] { return fstatfs(number(), &found); }), "look at", "");
    return static_cast<std::uint32_t>(found.f_type);
}

bool Directory::is_on_fuse() const {
    return file_system_type() == FUSE_SUPER_MAGIC;
}

} // namespace install::tree
