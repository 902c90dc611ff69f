// The documents of one entry of the contents map.

#include "install/tree/exhausted_memory.hpp"
#include "install/tree/found/entries.hpp"
#include "install/tree/found/found_tree.hpp"
#include "install/tree/found/receipted.hpp"
#include "install/tree/health.hpp"
#include "install/tree/in_quotes.hpp"
#include "install/tree/layout.hpp"

#include <cstdint>
#include <optional>

namespace install::tree {

namespace {

using Kind = Fault::Kind;

// Returns what is wrong with the file of a listed document; leaves its size.
std::optional<Fault> inspect_listed_file(const View& view, const ReceiptedDocuments& receipted,
                                         const std::string& name, std::uint64_t& size) {
    const std::string path = view.path_of(name);
    try {
        const FileStatus status = view.status(name);
        if (status.type == FileStatus::Type::nothing)
            return Fault{Kind::missing, path, "The document is missing."};
        if (status.type != FileStatus::Type::regular)
            return Fault{Kind::not_regular, path, "This is not a regular file."};
        size = status.size;
    } catch (const tree_error& error) {
        return Fault{Kind::unreadable, path, error.what()};
    }
    return receipted.fault(view, name, size, true);
}

std::vector<ListedDocument> listed_documents(const View& view, const std::string& key) {
    const SharedFiles shared(view);
    shared.contents.require_object();
    const auto member = shared.contents.members.find(key);
    const auto paths =
        member == shared.contents.members.end() ? std::nullopt : paths_in(member->second);
    if (!paths)
        throw tree_error("find " + in_quotes(key) + " in", shared.contents.path,
                         "There is no such entry.");
    const std::vector<Receipt> receipts = shared.listing().receipts;
    const ReceiptedDocuments receipted(receipts);
    std::vector<ListedDocument> documents;
    for (const std::string& path : *paths) {
        ListedDocument& document = documents.emplace_back(ListedDocument{path, {}, 0, false, {}});
        if (const auto name = document_name(path)) {
            document.file = view.path_of(*name);
            document.has_receipt = receipted.has(*name);
            document.fault = inspect_listed_file(view, receipted, *name, document.size);
        } else {
            document.fault = {Kind::outside, shared.contents.path,
                              "The path is not in the directory of the documents."};
        }
    }
    return documents;
}

} // namespace

std::vector<ListedDocument> documents_of(const ustring& installRoot, const std::string& key) {
    const Layout layout(installRoot);
    return reporting_exhausted_memory("read", layout.appdata, [&] {
        const Directory appdata = open_tree(layout);
        return read_committed(appdata,
                              [&](const View& view) { return listed_documents(view, key); });
    });
}

} // namespace install::tree
