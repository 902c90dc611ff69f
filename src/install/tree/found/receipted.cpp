#include "install/tree/found/receipted.hpp"

#include "install/tree/digest.hpp"
#include "install/tree/found/entries.hpp"
#include "install/tree/tree_error.hpp"

namespace install::tree {

namespace {

using Kind = Fault::Kind;

std::string bytes(std::uint64_t size) {
    return std::to_string(size) + (size == 1 ? " byte" : " bytes");
}

} // namespace

ReceiptedDocuments::ReceiptedDocuments(const std::vector<Receipt>& receipts) {
    for (const Receipt& receipt : receipts)
        for (const Receipt::Document& document : receipt.documents)
            if (const auto name = document_name(document.path)) {
                Latest& latest =
                    latest_.try_emplace(*name, Latest{receipt.time, &document}).first->second;
                if (latest.time < receipt.time)
                    latest = {receipt.time, &document};
            }
}

std::optional<Fault> ReceiptedDocuments::fault(const View& view, const std::string& name,
                                               std::uint64_t size, bool with_text) const {
    const auto found = latest_.find(name);
    if (found == latest_.end())
        return std::nullopt;
    const Receipt::Document& expected = *found->second.document;
    const std::string path = view.path_of(name);
    if (size == 0 && expected.size > 0)
        return Fault{Kind::empty, path,
                     "The document is empty; its receipt says " + bytes(expected.size) + '.'};
    if (size != expected.size)
        return Fault{Kind::different, path,
                     "The document has " + bytes(size) + "; its receipt says " +
                         bytes(expected.size) + '.'};
    try {
        const auto digest = digest_in(expected.sha256);
        if (!with_text || (digest && view.matches(name, size, *digest)))
            return std::nullopt;
        return Fault{Kind::different, path,
                     "The document has another text than when it was written."};
    } catch (const tree_error& error) {
        return Fault{Kind::unreadable, path, error.what()};
    }
}

} // namespace install::tree
