// What a failure of power may leave of a tree.

#pragma once

#include "support/disk_calls.hpp"
#include "support/temporary_directory.hpp"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// Notes what each call does to the names in a folder, or to the bytes of a file. A flush makes
/// that of one folder, one file, or all of it durable; of the rest, any part may be on the disk or
/// not. A renaming within a folder is one operation, one between two folders is an operation on
/// each.
class DurableDisk : public DiskObserver {
public:
    /// Everything in the tree is durable.
    explicit DurableDisk(const TemporaryDirectory& tree);

    int before(const DiskCall& /*call*/) override {
        mark();
        return 0;
    }
    void after(const DiskCall& call, int result) override;

    /// The content of the disk, by numbers of files and folders. The root has number 0.
    struct Disk {
        std::map<std::pair<int, std::string>, int> names; ///< folder and name
        std::map<int, std::string> texts;                 ///< of files, not of folders
        /// Makes a tree of it, with all links.
        void write_to(const std::filesystem::path& directory, int folder = 0,
                      std::map<int, std::filesystem::path>* written = nullptr) const;
        auto operator<=>(const Disk&) const = default;
    };
    struct Operation {
        std::vector<std::pair<std::pair<int, std::string>, std::optional<int>>> names;
        std::optional<std::pair<int, std::string>> text;
    };
    /// A moment: what is durable, and what is not.
    struct Moment {
        Disk durable;
        std::vector<Operation> pending;

        /// Returns what may be on the disk: without any of the pending operations, with all, with
        /// all but one, with one alone, and with `subsets` random parts of them.
        [[nodiscard]] std::vector<Disk> after_failure(int subsets) const;
    };
    std::vector<Moment> moments; ///< before each call, and now if `mark` was called

    void mark() { moments.push_back(now_); }
    void between() override { mark(); }
    /// From now on the bytes of a file are not durable until they are flushed.
    void forget_text(const std::filesystem::path& file);

private:
    int number_of(const std::filesystem::path& path);
    int add_file(const std::filesystem::path& path);
    void add_tree(const std::filesystem::path& directory, int number);
    void flush(int number);

    std::map<ino_t, int> numbers_;
    int next_number_ = 0;
    Moment now_;
};

} // namespace test
