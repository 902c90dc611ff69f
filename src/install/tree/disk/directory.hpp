// Files and directories of an install tree: the one way to them, with every result looked at. All
// that depends on the platform is in this folder. Below appdata no symbolic link is followed but
// that of the directory of the documents.

#pragma once

#include "install/tree/disk/file_record.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace install::tree {

// An open file; closed by the destructor at the latest.
class Descriptor {
public:
    explicit Descriptor(int number = -1) noexcept : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() { close(); }

    [[nodiscard]] int number() const noexcept { return number_; }
    [[nodiscard]] bool is_open() const noexcept { return number_ >= 0; }
    // Closes it now. Returns false, with errno set, if that reports an error.
    bool close() noexcept;
    // Gives the file to the caller, who closes it.
    int release() noexcept { return std::exchange(number_, -1); }

private:
    int number_;
};

// What is at a name.
struct FileStatus {
    enum class Type { nothing, regular, directory, link, other };

    Type type = Type::nothing;
    std::uint64_t size = 0; // in bytes
    std::uint64_t device = 0;
    std::uint64_t inode = 0;       // with the device, which file it is
    std::int64_t modified = 0;     // the bytes, in nanoseconds
    std::int64_t changed = 0;      // anything of the file, in nanoseconds
    std::uint32_t permissions = 0; // of the owner, the group and others; whether a folder's group
                                   // is that of all files in it
    std::uint32_t owner = 0;
    std::uint32_t group = 0;

    [[nodiscard]] bool is_there() const noexcept { return type != Type::nothing; }
    [[nodiscard]] bool is_same_file(const FileStatus& other) const noexcept {
        return device == other.device && inode == other.inode;
    }
    // Whether nobody has written it since. Which file it is does not matter: a layered file system
    // copies one that gets another name.
    [[nodiscard]] bool has_same_bytes(const FileStatus& other) const noexcept {
        return type == other.type && size == other.size && modified == other.modified;
    }
};

// Returns what comes before the last separator of a path or a name; nothing if there is none. The
// parent of the root is the root.
[[nodiscard]] std::string parent_of(const std::string& path);

// An open directory. Names are relative to it and may have several components; the directory may be
// renamed meanwhile. Names and paths are in the encoding of the file system. All operations throw
// tree_error with the path of the file. Not for several threads at once.
class Directory {
public:
    // Opens the directory at `path` if it exists. An empty path names the current directory. The
    // directory itself, and the first component `followed` of a name, may be symbolic links, if
    // these belong to root, to the effective user, or to the owner of what they lead to.
    [[nodiscard]] static std::optional<Directory> open(const std::string& path,
                                                       const char* followed);
    // Creates the directory at `path` if it does not exist, and makes it durable, with all its
    // parents.
    static void create(const std::string& path);
    // Opens the directory `name`.
    [[nodiscard]] Directory subdirectory(const std::string& name) const;

    [[nodiscard]] int number() const noexcept { return descriptor_.number(); }
    [[nodiscard]] std::string path_of(const std::string& name) const;

    // Returns what is at `name`.
    [[nodiscard]] FileStatus status(const std::string& name) const;
    // The same; nothing is also where no file can be: below a file or a link, or at a name that is
    // too long.
    [[nodiscard]] FileStatus status_or_nothing(const std::string& name) const;
    [[nodiscard]] bool has(const std::string& name) const { return status(name).is_there(); }
    // Returns the first folder of `name` that does not exist; an empty text if all do.
    [[nodiscard]] std::string missing_folder(const std::string& name) const;

    struct Entry {
        std::string name;
        bool is_folder = false;
    };
    // Returns what is in the folder `name`, or with an empty name in the directory, in no order.
    [[nodiscard]] std::vector<Entry> entries(const std::string& name = "") const;

    // Returns the bytes of the regular file `name`; nothing if there is none. Nothing else is
    // opened.
    [[nodiscard]] std::optional<std::string> read(const std::string& name) const;
    // Whether the regular file `name` has the size and the digest of `record`.
    [[nodiscard]] bool matches(const std::string& name, const FileRecord& record) const;

    // Creates the folder `name` and its parents where they do not exist, with the permissions, and
    // where that is allowed the owner and the group, of `like`.
    void make_folders(const std::string& name, const FileStatus* like = nullptr) const;
    // Creates the file `name`, which must not exist, and writes `bytes`. The same holds for `like`.
    // `starts_writing` lets the disk begin at once, for a flush that follows soon.
    void write_new(const std::string& name, std::string_view bytes, const FileStatus* like,
                   bool starts_writing) const;
    // Makes `other_name` in `other` another name of the file or link `name`, and creates the
    // folders of `other_name` as make_folders does. Where no other name can be, makes it a durable
    // copy with the permissions of the file and, where that is allowed, its owner and its group. If
    // `other` is this directory, both names are in one folder of it; so are those of `rename`.
    void link_or_copy(const std::string& name, const Directory& other,
                      const std::string& other_name, const FileStatus* folders_like) const;
    // Makes it such a copy. The folder of `other_name` exists.
    void copy(const std::string& name, const Directory& other, const std::string& other_name) const;
    void rename(const std::string& name, const Directory& other,
                const std::string& other_name) const;

    // Removes the file `name` if there is one.
    void remove(const std::string& name) const;
    // Removes the folder `name`, unless something is in it or it is not there.
    void remove_empty_folder(const std::string& name) const;
    // Removes whatever is at `name`, unless nothing is. Calls `on_removal` after each file.
    void remove_tree(const std::string& name,
                     const std::function<void()>& on_removal = nullptr) const;

    // Makes the names in the folder `name` durable, or with an empty name those in this directory;
    // in it and all folders below; the bytes of a regular file. The last returns false if the file
    // may not be opened.
    void flush_folder(const std::string& name) const;
    void flush_all_folders() const;
    [[nodiscard]] bool flush_file(const std::string& name) const;
    // Makes everything durable that was written to the file system of this directory. Returns false
    // where the system cannot.
    [[nodiscard]] bool flush_file_system() const;
    // Returns the number of the type of that file system, as <linux/magic.h> has them.
    [[nodiscard]] std::uint32_t file_system_type() const;
    // Whether a program has the files (FUSE).
    [[nodiscard]] bool is_on_fuse() const;

    // Closes the folder that is open for the next name, where descriptors are scarce.
    void close_folder() const noexcept;

private:
    // A name in an open folder.
    struct Place {
        int folder;
        const char* name;
    };

    Directory(Descriptor descriptor, std::string path, const char* followed)
        : descriptor_(std::move(descriptor)),
          path_(std::move(path)),
          followed_(followed) {}
    void require(int result, const char* operation, const std::string& name) const;
    [[nodiscard]] std::optional<Place> find(const std::string& name) const;
    [[nodiscard]] Place place_of(const std::string& name, const char* operation) const;
    std::size_t open_folders(std::string_view name) const;
    [[nodiscard]] int open_folder(const std::string& name) const;
    [[nodiscard]] Descriptor open_file(const std::string& name) const;
    [[nodiscard]] int folder() const noexcept {
        return folder_.is_open() ? folder_.number() : number();
    }
    [[nodiscard]] std::vector<std::string> folders_at(const std::string& name) const;

    Descriptor descriptor_;
    std::string path_;
    const char* followed_;
    // The folder of the last name stays open, as names that follow each other are mostly in it.
    mutable Descriptor folder_;
    mutable std::string folder_name_;
};

} // namespace install::tree
