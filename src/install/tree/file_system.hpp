// Files and directories of an install tree, with every result looked at. All that depends on the
// platform is in file_system.cpp and lock.cpp. Below appdata no symbolic link is followed but that
// of the directory of the documents.

#pragma once

#include "install/tree/digest.hpp"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace install::tree {

// An open file; closed by the destructor at the latest.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    [[nodiscard]] int number() const noexcept { return number_; }
    [[nodiscard]] bool is_open() const noexcept { return number_ >= 0; }
    // Closes it now. Returns false, with errno set, if that reports an error.
    bool close() noexcept;
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
    enum class Type { nothing, regular, directory, link, other };

    Type type = Type::nothing;
    std::uint64_t size = 0; // in bytes
    std::uint64_t device = 0;
    std::uint64_t inode = 0;       // with the device, which file it is
    std::int64_t modified = 0;     // in nanoseconds
    std::uint32_t permissions = 0; // of the owner, the group and others
    std::uint32_t owner = 0;
    std::uint32_t group = 0;

    [[nodiscard]] bool is_same_file(const FileStatus& other) const noexcept {
        return device == other.device && inode == other.inode;
    }
};

// A name in an open folder. What a place is used for neither throws nor takes memory, so that a
// change can be taken back whatever is exhausted.
struct Place {
    int folder = -1;
    const char* name = nullptr;

    // Nothing at the place is no error.
    [[nodiscard]] std::error_code look(FileStatus& status) const noexcept;
    // Makes `other` another name of the file here.
    [[nodiscard]] std::error_code link_to(const Place& other) const noexcept;
    // Makes `other` a copy of the file here, or of the link, with permissions and, where that is
    // allowed, owner and group.
    [[nodiscard]] std::error_code copy_to(const Place& other) const noexcept;
    [[nodiscard]] std::error_code rename_to(const Place& other) const noexcept;
    // Removes the file, or the empty folder. Nothing at the place is no error.
    [[nodiscard]] std::error_code remove() const noexcept;
    [[nodiscard]] std::error_code remove_folder() const noexcept;
    // Makes the bytes of a regular file durable.
    [[nodiscard]] std::error_code flush() const noexcept;
    // Compares the regular file here with a size and a digest.
    [[nodiscard]] std::error_code compare(std::uint64_t size, const Digest& digest,
                                          bool& is_equal) const noexcept;
};

// Makes the names in a folder, or the bytes of a file, durable.
[[nodiscard]] std::error_code flush_descriptor(int descriptor) noexcept;

// Whether a file system, or the user's rights, may allow a copy where a link failed so.
[[nodiscard]] bool is_for_lack_of_links(const std::error_code& code) noexcept;

// Finds the places of names below an open folder, opening one component after the other. The folder
// of the last name stays open, as names that follow each other are mostly in the same one. Neither
// throws nor takes memory.
class Folders {
public:
    enum class Missing { is_error, is_created };

    // Does not own `top`. The first component `followed` may be a symbolic link.
    explicit Folders(int top, const char* followed = nullptr) noexcept
        : top_(top),
          followed_(followed) {}

    // Leaves the place of `name`, which is valid until the next call.
    [[nodiscard]] std::error_code find(std::string_view name, Missing missing,
                                       Place& place) noexcept;
    // Whether the folder of `name` is the one that is open.
    [[nodiscard]] bool is_open(std::string_view name) const noexcept;
    // Returns the open folder.
    [[nodiscard]] int number() const noexcept;
    // Returns the length of that part of the last name of which the folder is open.
    [[nodiscard]] std::size_t opened() const noexcept { return opened_; }
    void close() noexcept;

private:
    std::error_code open(std::string_view folder, Missing missing) noexcept;

    int top_;
    const char* followed_;
    Descriptor folder_;
    std::size_t opened_ = 0;        // of the folder's name, which is the beginning of name_
    std::array<char, 4096> name_{}; // as long as the system allows
};

// An open directory. Names are relative to it and may have several components; the directory may be
// renamed meanwhile. Names and paths are in the encoding of the file system. All operations throw
// tree_error with the path of the file. Not for several threads at once.
class Directory {
public:
    // Opens the directory at `path`, which is created, and made durable, with all its parents if it
    // does not exist. An empty path names the current directory. The first component `followed` of
    // a name may be a symbolic link.
    [[nodiscard]] static Directory create(const std::string& path, const char* followed = nullptr);
    // Opens the directory at `path` if it exists.
    [[nodiscard]] static std::optional<Directory> open(const std::string& path,
                                                       const char* followed = nullptr);
    // Opens the directory `name`.
    [[nodiscard]] Directory subdirectory(const std::string& name) const;
    // Creates the directory `name`, which must not exist, and opens it.
    [[nodiscard]] Directory make_subdirectory(const std::string& name) const;

    [[nodiscard]] int number() const noexcept { return descriptor_.number(); }
    // Returns another descriptor of the directory, which keeps room for one.
    [[nodiscard]] Descriptor duplicate() const;
    [[nodiscard]] Folders folders() const noexcept { return Folders(number(), followed_); }
    [[nodiscard]] std::string path_of(const std::string& name) const;

    // Returns what is at `name`.
    [[nodiscard]] FileStatus status(const std::string& name) const;
    [[nodiscard]] bool has(const std::string& name) const;

    struct Entry {
        std::string name;
        bool is_folder = false;
    };
    // Returns what is in the directory, in no order.
    [[nodiscard]] std::vector<Entry> entries() const;

    // Returns the bytes of the regular file `name`; nothing if there is none. Nothing else is
    // opened.
    [[nodiscard]] std::optional<std::string> read(const std::string& name) const;

    // Whether the regular file `name` has a size and a digest.
    [[nodiscard]] bool matches(const std::string& name, std::uint64_t size,
                               const Digest& digest) const;

    // Removes whatever is at `name`, unless nothing is. Calls `on_removal` after each file.
    void remove_tree(const std::string& name,
                     const std::function<void()>& on_removal = nullptr) const;

    // Makes the names in this directory durable.
    void flush() const;
    // The same for all directories below, too.
    void flush_folders() const;
    // Makes everything durable that was written to the file system of this directory. Returns false
    // where the system cannot.
    [[nodiscard]] bool flush_file_system() const;

private:
    Directory(Descriptor descriptor, std::string path, const char* followed);
    // Returns the place of a name; nothing if one of its folders does not exist.
    [[nodiscard]] std::optional<Place> find(const std::string& name) const;
    [[nodiscard]] std::vector<std::string> folders_at(const std::string& name) const;

    Descriptor descriptor_;
    std::string path_;
    const char* followed_;
    mutable Folders folders_;
};

// Throws tree_error for `path` if there is an error.
void require(const std::error_code& code, const char* operation, const std::string& path);

// Creates a file, which must not exist, and writes `bytes`. It gets the permissions of `replaced`,
// and its owner and its group where that is allowed. `starts_writing` lets the disk begin at once,
// for a flush that follows soon. Returns the first failure.
[[nodiscard]] std::error_code write_new(const Place& place, std::string_view bytes,
                                        const FileStatus* replaced, bool starts_writing) noexcept;

} // namespace install::tree
