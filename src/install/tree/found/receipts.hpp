// The members of receipts.json: what a change left of each product.
//
//     "Sample Tool 2.5 hostpf":{"basecode":"ST",
//         "documents":["SHA256 300 /appdata/products/Sample Tool 2.5
//         hostpf.xml"],"time":1700000000123}
//
// One line a document, as short as that: a tree has tens of thousands, and every write reads and
// writes all of them.

#pragma once

#include "foundation/json/value.hpp"
#include "install/tree/install_tree.hpp"

#include <optional>
#include <string>
#include <vector>

namespace install::tree {

// Returns the receipt in a member of receipts.json; nothing if it is none.
[[nodiscard]] std::optional<Receipt> receipt_in(const std::string& key,
                                                const foundation::json::Value& value);
[[nodiscard]] foundation::json::Value value_of(const Receipt& receipt);

// Whether a receipt is that of the last write of its product, by the members of the installed
// record.
[[nodiscard]] bool counts(const Receipt& receipt, const foundation::json::ValueMap& record);

// Returns those among the members of receipts.json that count.
[[nodiscard]] std::vector<Receipt> counting_receipts(const foundation::json::ValueMap& receipts,
                                                     const foundation::json::ValueMap& record);

} // namespace install::tree
