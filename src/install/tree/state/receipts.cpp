#include "install/tree/state/receipts.hpp"

#include "install/tree/state/entries.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;

constexpr const char* basecode_key = "basecode";
constexpr const char* documents_key = "documents";
constexpr const char* locale_key = "locale";
constexpr const char* name_key = "name";
constexpr const char* platforms_key = "platforms";
constexpr const char* time_key = "time";
constexpr const char* product_version_key = "version";

template <class T>
const T* member_of(const ValueMap& members, const char* key) {
    const auto found = members.find(key);
    return found == members.end() ? nullptr : found->second.get_if<T>();
}

// Each returns false if what it reads is of another form. A member that is not there leaves the
// text or the list empty.
bool read_text(const ValueMap& members, const char* key, std::string& text) {
    if (const auto* const member = member_of<std::string>(members, key))
        text = *member;
    else
        return !members.contains(key);
    return true;
}

bool read_platforms(const ValueMap& members, std::vector<std::string>& platforms) {
    const auto found = members.find(platforms_key);
    if (found == members.end())
        return true;
    auto tags = paths_in(found->second);
    if (tags)
        platforms = std::move(*tags);
    return tags.has_value();
}

bool read_documents(const ValueVector& lines, std::vector<Receipt::Document>& documents) {
    for (const Value& each : lines) {
        const auto* const line = each.get_if<std::string>();
        auto document = line == nullptr ? std::nullopt : record_in(*line);
        if (!document || !document->digest)
            return false;
        documents.push_back(
            {std::move(document->name), document->size, hexadecimal(*document->digest)});
    }
    return true;
}

} // namespace

std::optional<Receipt> receipt_in(const std::string& key, const Value& value) {
    const auto* const members = value.get_if<ValueMap>();
    if (members == nullptr)
        return std::nullopt;
    const auto* const basecode = member_of<std::string>(*members, basecode_key);
    const auto* const documents = member_of<ValueVector>(*members, documents_key);
    const auto found = members->find(time_key);
    const auto time = time_in(found == members->end() ? nullptr : &found->second);
    if (basecode == nullptr || documents == nullptr || !time)
        return std::nullopt;
    Receipt receipt;
    receipt.key = key;
    receipt.basecode = *basecode;
    receipt.time = *time;
    const bool is_whole = read_text(*members, name_key, receipt.name) &&
                          read_text(*members, product_version_key, receipt.version) &&
                          read_platforms(*members, receipt.platforms) &&
                          read_text(*members, locale_key, receipt.locale) &&
                          read_documents(*documents, receipt.documents);
    return is_whole ? std::optional(std::move(receipt)) : std::nullopt;
}

Value value_of(const Receipt& receipt) {
    ValueVector documents;
    documents.reserve(receipt.documents.size());
    for (const Receipt::Document& each : receipt.documents)
        documents.emplace_back(line_of({each.path, each.size, digest_in(each.sha256)}));
    const long long time = receipt.time.time_since_epoch().count();
    ValueMap members;
    members.emplace(basecode_key, receipt.basecode);
    members.emplace(documents_key, std::move(documents));
    members.emplace(locale_key, receipt.locale);
    members.emplace(name_key, receipt.name);
    members.emplace(platforms_key, ValueVector(receipt.platforms.begin(), receipt.platforms.end()));
    members.emplace(time_key, time);
    members.emplace(product_version_key, receipt.version);
    return Value(std::move(members));
}

bool is_current(const Receipt& receipt, const FoundTree& tree) {
    return time_in(tree.record.find(receipt.basecode)) == receipt.time;
}

std::vector<Receipt> current_receipts(const FoundTree& tree) {
    std::vector<Receipt> current;
    for (const auto& [key, value] : tree.receipts.members())
        if (auto receipt = receipt_in(key, value); receipt && is_current(*receipt, tree))
            current.push_back(std::move(*receipt));
    return current;
}

DocumentRecords::DocumentRecords(const std::vector<Receipt>& receipts) {
    for (const Receipt& receipt : receipts)
        for (const Receipt::Document& document : receipt.documents)
            if (auto name = document_name(document.path)) {
                const auto [latest, is_first] = latest_.try_emplace(*name);
                if (is_first || latest->second.time < receipt.time)
                    latest->second = {
                        receipt.time,
                        {std::move(*name), document.size, digest_in(document.sha256)}};
            }
}

std::optional<Fault> fault_of_document(const View& view, const Receipt::Document& document) {
    const auto name = document_name(document.path);
    const FileRecord expected = {{}, document.size, digest_in(document.sha256)};
    return name ? fault_of_document(view, *name, &expected, Comparison::text) : std::nullopt;
}

std::vector<std::string> restore_lost_receipts(FoundTree& tree) {
    using State = SharedFile::State;
    const bool has_lost_contents = !tree.contents.is(State::object);
    const bool has_lost_record = !tree.record.is(State::object);
    const auto is_wrong = [&](const Receipt::Document& document) {
        const auto fault = fault_of_document(tree.view, document);
        return fault && (fault->kind != Fault::Kind::missing || has_lost_contents);
    };
    const auto is_contradicted = [&](const Receipt& receipt) {
        const bool is_lost = has_lost_record && tree.record.find(receipt.basecode) == nullptr;
        return (!has_lost_contents && tree.contents.find(receipt.key) == nullptr) ||
               (!is_lost && !is_current(receipt, tree)) ||
               std::ranges::any_of(receipt.documents, is_wrong);
    };
    std::vector<std::string> restored;
    const SharedFile old(tree.view, tree.receipts.name() + std::string(tree_names::old_suffix));
    old.require_readable();
    for (const auto& [key, value] : old.members())
        if (const auto receipt = receipt_in(key, value);
            receipt && tree.receipts.find(key) == nullptr && !is_contradicted(*receipt)) {
            tree.receipts.set(key, value);
            restored.push_back(key);
        }
    return restored;
}

} // namespace install::tree
