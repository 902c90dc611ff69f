// The documents of a tree, compared with the receipts of the products that list them.

#pragma once

#include "install/tree/fault.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/view.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace install::tree {

// Keeps references to the receipts that it was made of.
class ReceiptedDocuments {
public:
    explicit ReceiptedDocuments(const std::vector<Receipt>& receipts);

    // Whether there is a receipt for the document with the name `name` in appdata.
    [[nodiscard]] bool has(const std::string& name) const { return latest_.contains(name); }
    // Returns what is different about a document of `size` bytes; nothing if it has no receipt. Its
    // text is compared `with_text` only. Throws std::bad_alloc only.
    [[nodiscard]] std::optional<Fault> fault(const View& view, const std::string& name,
                                             std::uint64_t size, bool with_text) const;

private:
    struct Latest {
        InstallTree::Time time;
        const Receipt::Document* document;
    };
    std::map<std::string, Latest> latest_; // by names in appdata; of several, the latest
};

} // namespace install::tree
