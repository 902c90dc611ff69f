// One committed state of a tree, as those see it who only read.

#pragma once

#include "install/tree/change/manifest.hpp"
#include "install/tree/file_system.hpp"
#include "install/tree/lock.hpp"
#include "install/tree/tree_error.hpp"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace install::tree {

// While a change is under way, or after it was interrupted, its old files are read instead of the
// new ones. Names are relative to appdata. All operations throw tree_error.
class View {
public:
    // Keeps a reference to `appdata`.
    explicit View(const Directory& appdata);

    [[nodiscard]] std::string path_of(const std::string& name) const {
        return appdata_.path_of(name);
    }
    // As those of Directory.
    [[nodiscard]] FileStatus status(const std::string& name) const;
    [[nodiscard]] std::optional<std::string> read(const std::string& name) const;
    [[nodiscard]] bool matches(const std::string& name, std::uint64_t size,
                               const Digest& digest) const;

    // Calls `visit` with the name of each file that the change adds or removes, and whether it was
    // there before.
    template <class Visit>
    void for_each_changed(const Visit& visit) const {
        for (const auto& [name, was_there] : changed_)
            visit(std::string(name), was_there);
    }

    // Why the interrupted change cannot be understood; the tree is then seen as it stands.
    [[nodiscard]] const std::optional<tree_error>& fault() const noexcept { return fault_; }

    // Whether everything that was read until now is of one state.
    [[nodiscard]] bool is_current() const;

    [[nodiscard]] const Directory& appdata() const noexcept { return appdata_; }

private:
    // What every change, and every other program's write of a shared file, makes another one.
    struct State {
        explicit State(const Directory& appdata);
        bool operator==(const State&) const = default;
        std::uint64_t changes = 0;
        std::array<std::array<std::uint64_t, 4>, 3> files{}; // device, inode, time and size
    };

    void open_undo();

    const Directory& appdata_;
    State state_;
    std::optional<Directory> old_; // there while a change is under way
    Manifest manifest_;
    std::map<std::string_view, bool> changed_; // whether it was there, by names in manifest_
    std::optional<tree_error> fault_;
};

// Decides how often a tree is read again, and waits for the changes that make it necessary.
class Readings {
public:
    explicit Readings(const Directory& appdata) : appdata_(appdata) {}
    // Throws tree_error after too many.
    void again();

private:
    const Directory& appdata_;
    int count_ = 0;
    std::optional<FileLock> lock_;
};

// Returns what `read` returns of a view, reading until no change overlapped. Nobody waits, unless
// changes follow each other so fast that no reading fits between them: then, where the user may
// read the file of the lock, for the one that is under way.
template <class Read>
auto read_committed(const Directory& appdata, const Read& read) {
    for (Readings readings(appdata);; readings.again()) {
        const View view(appdata);
        try {
            auto result = read(view);
            if (view.is_current())
                return result;
        } catch (const tree_error&) {
            if (view.is_current())
                throw;
        }
    }
}

} // namespace install::tree
