// A change of an install tree that is done as a whole or not at all.

#pragma once

#include "install/tree/file_system.hpp"

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace install::tree {

// Prepares new files in the directory `.staging`, which has the same folders as the tree:
//
//     Transaction transaction(appdata);
//     transaction.put(name, bytes);
//     transaction.remove(other_name);
//     transaction.commit();
//
// Renaming `.staging` to `.commit` decides: before it, a crash leaves the old tree and something to
// drop; after it, the new tree and renames that are still to be done, which can be repeated. Names
// are relative to appdata. The caller holds the lock, and has called recover. Every operation
// throws tree_error.
class Transaction {
public:
    // Keeps a reference to `appdata`.
    explicit Transaction(const Directory& appdata);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    // Drops what was prepared, unless it was committed.
    ~Transaction();

    // Replaces or creates the file `name`. All that can be found out beforehand is: whether it
    // could be renamed to its place later.
    void put(const std::string& name, std::string_view bytes);
    // Makes `other_name` another name of the file `name` as it is now.
    void keep(const std::string& name, const std::string& other_name);
    // Removes the file `name`.
    void remove(const std::string& name);

    // Does all of it; everything is durable afterwards. An error that is thrown after the decision
    // says so (tree_error::is_committed).
    void commit();

private:
    std::optional<FileStatus> require_place(const std::string& name);
    void require_directory(const std::string& name);

    const Directory& appdata_;
    std::uint64_t device_ = 0;
    std::set<std::string> usable_directories_;
    std::string removals_; // each followed by a NUL
    bool committed_ = false;
};

// Finishes a change that was committed, and drops one that was not. Returns whether there was one.
// The caller holds the lock. Throws tree_error, also if another version of this library committed
// it.
bool recover(const Directory& appdata);

// Returns whether there is something to recover.
[[nodiscard]] bool is_interrupted(const Directory& appdata);

} // namespace install::tree
