// A tree as it is found, in whatever state: what is said of it, every change and every repair are
// functions of this.

#pragma once

#include "install/tree/install_tree.hpp"
#include "install/tree/journal/journal.hpp"
#include "install/tree/journal/view.hpp"
#include "install/tree/state/shared_file.hpp"

#include <cstddef>

namespace install::tree {

struct FoundTree {
    // Reads the shared files, each once. Throws std::bad_alloc only. Keeps a reference to the view.
    explicit FoundTree(const View& tree_view);

    // Returns the entries among the members, and the receipts that are current.
    [[nodiscard]] Listing listing() const;

    // Whether the contents map is in the place of the installed record, and the other way round.
    [[nodiscard]] bool are_swapped() const;

    // Lets all files that can be edited count as edited.
    void expect_edits() noexcept;
    // Returns how many files put_into stages: those that were edited, and what they were.
    [[nodiscard]] std::size_t count_files_to_put() const noexcept;
    // Puts the files that were edited into a journal. Leaves them without members.
    void put_into(Journal& journal);

    const View& view;
    SharedFile contents;
    SharedFile record;
    SharedFile receipts;
};

} // namespace install::tree
