// The members of receipts.json: what a change left of each product. A document is one line, as a
// tree has tens of thousands, and every write reads and writes all of them:
//
//     "Sample Tool 2.5 hostpf": {
//         "basecode": "ST",
//         "documents": ["SHA256 300 /appdata/products/Sample Tool 2.5 hostpf.xml"],
//         "locale": "",
//         "name": "Sample Tool",
//         "platforms": ["hostpf"],
//         "time": 1700000000123,
//         "version": "2.5"
//     }
//
// Earlier versions of the library wrote neither name and version nor platforms and locale.

#pragma once

#include "foundation/json/value.hpp"
#include "install/tree/disk/file_record.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/state/documents.hpp"
#include "install/tree/state/found_tree.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace install::tree {

// Returns the receipt in a member of receipts.json; nothing if it is none.
[[nodiscard]] std::optional<Receipt> receipt_in(const std::string& key,
                                                const foundation::json::Value& value);
[[nodiscard]] foundation::json::Value value_of(const Receipt& receipt);

// Whether a receipt is that of the last write of its product, by the installed record.
[[nodiscard]] bool is_current(const Receipt& receipt, const FoundTree& tree);

// Returns the receipts that are current.
[[nodiscard]] std::vector<Receipt> current_receipts(const FoundTree& tree);

// The documents of a tree as their receipts have them.
class DocumentRecords {
public:
    explicit DocumentRecords(const std::vector<Receipt>& receipts);

    // Returns how the document with the name `name` in appdata was written last; null if no receipt
    // says so.
    [[nodiscard]] const FileRecord* find(const std::string& name) const {
        const auto found = latest_.find(name);
        return found == latest_.end() ? nullptr : &found->second.record;
    }

private:
    struct Latest {
        InstallTree::Time time;
        FileRecord record;
    };
    std::map<std::string, Latest> latest_; // by names in appdata
};

// Returns what is wrong with a document, compared with its receipt; nothing if no file can be at
// the listed path.
[[nodiscard]] std::optional<Fault> fault_of_document(const View& view,
                                                     const Receipt::Document& document);

// Adds to receipts that are damaged or lost those of the last good version that nothing
// contradicts: their products are in the contents map, or that is lost, too; they are current, or
// their entries in the installed record are lost; and no document that is there has another text.
// Returns their keys. Throws tree_error if that version cannot be read.
std::vector<std::string> restore_lost_receipts(FoundTree& tree);

} // namespace install::tree
