// What a repair of a tree does, and what it leaves as it is.

#pragma once

#include "foundation/json/value.hpp"
#include "install/tree/change/journal.hpp"
#include "install/tree/found/found_tree.hpp"
#include "install/tree/repair.hpp"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace install::tree {

// Lost entries come from where it is certain that they were: the whole members of the damaged file
// itself, receipts, the last good version. Names of documents come last, and only where no receipts
// could know better.
class RepairPlan {
public:
    // Throws tree_error if something cannot be read of which an entry might come, or if what the
    // repair would write could not be read back. The members of the tree's shared files are lost.
    explicit RepairPlan(FoundTree& tree);

    [[nodiscard]] const RepairReport& report() const noexcept { return report_; }
    void put_into(Journal& journal) const;

private:
    struct RepairedFile {
        RepairedFile(SharedFile& shared_file, const View& view);

        [[nodiscard]] bool has_lost() const { return !file.is(SharedFile::State::object); }

        SharedFile& file;                // its members are those after the repair
        std::string old_name;            // of the last good version
        foundation::json::ValueMap old;  // its members, if the file has lost some
        std::string damaged_name;        // where the file is kept; empty if it is not damaged
        std::optional<std::string> text; // of the file after the repair, if that changes it
        bool changed = false;
    };

    void add_step(RepairedFile& to, std::string text);
    void add_note(const std::string& path, std::string text);
    void keep_damaged(RepairedFile& damaged);
    void restore_receipts();
    void find_receipts();
    [[nodiscard]] bool is_latest(const Receipt& receipt) const;
    [[nodiscard]] bool may_be_removed(const std::string& key) const;
    [[nodiscard]] bool is_there(const std::string& path) const; // a listed document
    [[nodiscard]] bool are_documents_there(const std::vector<std::string>& paths) const;
    void restore_entry(const std::string& key, foundation::json::Value value,
                       const std::string& source);
    void restore_entries_from_receipts();
    void restore_members_from_old();
    void restore_entry_from_old(const std::string& key, const foundation::json::Value& value);
    void restore_entries_from_documents();
    void restore_entry_from_documents(const std::string& key, std::vector<std::string> names,
                                      const std::string& directory);
    [[nodiscard]] std::string directory_in_lists() const;
    void restore_times();
    void make_text(RepairedFile& repaired);

    FoundTree& tree_;
    bool are_receipts_whole_; // so that they have every product that was not removed
    RepairedFile contents_;
    RepairedFile record_;
    RepairedFile receipts_;
    std::vector<Receipt> latest_; // those that are of the last writes
    std::set<std::string> noted_; // documents of entries that are left out
    RepairReport report_;
};

} // namespace install::tree
