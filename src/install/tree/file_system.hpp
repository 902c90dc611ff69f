// Files and directories of an install tree, with every result looked at. All that depends on the
// platform is in file_system.cpp.

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace install::tree {

// An open file; closed by the destructor at the latest.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    [[nodiscard]] int number() const noexcept { return number_; }
    // Closes it now. Returns false, with errno set, if that reports an error.
    [[nodiscard]] bool close() noexcept;
    // Gives the file to the caller, who closes it.
    int release() noexcept;

private:
    int number_ = -1;
};

// Returns what comes before the last separator of a path or a name; nothing if there is none. The
// parent of the root is the root.
[[nodiscard]] std::string parent_of(const std::string& path);

// What is at a name.
struct FileStatus {
    enum class Type { regular, directory, other };

    Type type = Type::other;
    std::uint64_t size = 0;   // in bytes
    std::uint64_t device = 0; // file systems have different ones
    std::uint32_t mode = 0;   // the permissions
    std::uint32_t owner = 0;
    std::uint32_t group = 0;
};

// An open directory. Names are relative to it and may have several components; the directory may be
// renamed meanwhile. Names and paths are in the encoding of the file system. All operations throw
// tree_error with the path of the file.
class Directory {
public:
    // Opens the directory at `path`, which is created, and made durable, with all its parents if it
    // does not exist. An empty path names the current directory.
    [[nodiscard]] static Directory create(const std::string& path);
    // Opens the directory at `path` if it exists.
    [[nodiscard]] static std::optional<Directory> open(const std::string& path);
    // Opens the directory `name`, following no symbolic link in any part of the name.
    [[nodiscard]] Directory subdirectory(const std::string& name) const;
    // The same, following symbolic links, which the user of the tree has put there.
    [[nodiscard]] Directory followed_subdirectory(const std::string& name) const;

    [[nodiscard]] std::string path_of(const std::string& name) const;

    // Returns what is at `name`, or at the end of a symbolic link there; nothing if there is none.
    [[nodiscard]] std::optional<FileStatus> status(const std::string& name) const;
    // The same for the link itself.
    [[nodiscard]] std::optional<FileStatus> link_status(const std::string& name) const;
    // Throws if this process may not create and remove files in the directory `name`.
    void require_writable(const std::string& name) const;
    // Returns the names in the directory, in no order.
    [[nodiscard]] std::vector<std::string> names() const;

    // Returns the bytes of the regular file `name`; nothing if there is none. Nothing else is
    // opened.
    [[nodiscard]] std::optional<std::string> read(const std::string& name) const;
    // Creates the file `name`, which must not exist, with missing parents. It gets the permissions
    // of `replaced`, and its owner where that is allowed.
    void write_new(const std::string& name, std::string_view bytes,
                   const std::optional<FileStatus>& replaced) const;
    // Makes `link` another name of the file `name`; a copy where the file system has no such links.
    void link_or_copy(const std::string& name, const std::string& link) const;
    // Opens the regular file `name` for a lock; creates it, and follows no link.
    [[nodiscard]] Descriptor open_lock(const std::string& name) const;
    // Creates the directory `name`, which must not exist.
    void make_directory(const std::string& name) const;
    // Creates the directories that the path `name` goes through and that do not exist.
    void make_parents(const std::string& name) const;

    // Renames a file or a directory.
    void rename(const std::string& from, const Directory& to_directory,
                const std::string& to) const;
    // Removes the file `name` unless it does not exist.
    void remove_file(const std::string& name) const;
    // Removes whatever is at `name`, following no link, unless nothing is.
    void remove_tree(const std::string& name) const;

    // Makes the names in this directory durable.
    void flush() const;
    // Makes everything durable that was written to the file system of this directory; where that is
    // not possible, everything below `name`.
    void flush_all(const std::string& name) const;

private:
    Directory(Descriptor descriptor, std::string path);
    [[nodiscard]] std::vector<std::string> folders_at(const std::string& name) const;
    void flush_files() const;

    Descriptor descriptor_;
    std::string path_;
};

// A lock that one process, and one object of it, can hold at a time. Released by the destructor,
// and by the system when the process dies.
class FileLock {
public:
    // Calls the argument, once, with the process that holds the lock; 0 if that is not known.
    using Observer = std::function<void(std::int64_t process)>;

    // Waits for the lock of `directory`, the file `name`, which is created and stays. It is never
    // followed through a link.
    FileLock(const Directory& directory, const std::string& name, const Observer& on_wait);

private:
    Descriptor descriptor_;
};

} // namespace install::tree
