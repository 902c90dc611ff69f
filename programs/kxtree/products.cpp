#include "products.hpp"

#include "install/tree_names.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace kxtree {

using install::tree::Listing;
using install::tree::RecordEntry;

std::vector<Product> products_of(const Listing& listing) {
    std::map<std::string_view, const install::tree::Receipt*> receipts;
    for (const auto& receipt : listing.receipts)
        receipts.emplace(receipt.key, &receipt);
    std::vector<Product> products;
    for (const auto& entry : listing.contents) {
        const auto receipt = receipts.find(entry.key);
        products.push_back({&entry, receipt == receipts.end() ? nullptr : receipt->second});
    }
    return products;
}

const install::tree::Receipt* receipt_with_names(const Product& product) {
    const auto* const receipt = product.receipt;
    const auto is_key_of = [](const install::tree::Receipt& named) {
        return named.key ==
               named.name + ' ' + named.version + ' ' + std::string(install::tree_names::entry_tag);
    };
    return receipt != nullptr && is_key_of(*receipt) ? receipt : nullptr;
}

std::vector<RecordEntry> unclaimed_record_of(const Listing& listing) {
    std::set<std::string_view> claimed;
    for (const Product& product : products_of(listing))
        if (product.receipt != nullptr)
            claimed.insert(product.receipt->basecode);
    std::vector<RecordEntry> unclaimed;
    std::copy_if(listing.record.begin(), listing.record.end(), std::back_inserter(unclaimed),
                 [&](const RecordEntry& entry) { return !claimed.contains(entry.basecode); });
    return unclaimed;
}

std::size_t count_without_receipt(const Listing& listing) {
    const auto products = products_of(listing);
    return static_cast<std::size_t>(std::ranges::count_if(
        products, [](const Product& product) { return product.receipt == nullptr; }));
}

} // namespace kxtree
