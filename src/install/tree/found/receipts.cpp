#include "install/tree/found/receipts.hpp"

#include "install/tree/digest.hpp"
#include "install/tree/found/entries.hpp"

#include <charconv>
#include <string_view>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;

constexpr const char* basecode_key = "basecode";
constexpr const char* documents_key = "documents";
constexpr const char* time_key = "time";

// "SHA256 SIZE PATH".
std::optional<Receipt::Document> document_in(std::string_view line) {
    Receipt::Document document;
    document.sha256 = line.substr(0, line.find(' '));
    line.remove_prefix(document.sha256.size());
    const char* const end = line.data() + line.size();
    if (!digest_in(document.sha256) || line.empty())
        return std::nullopt;
    const auto [after, code] = std::from_chars(line.data() + 1, end, document.size);
    if (code != std::errc() || after == end || *after != ' ')
        return std::nullopt;
    document.path.assign(after + 1, end);
    return document;
}

template <class T>
const T* member(const ValueMap& members, const char* key) {
    const auto found = members.find(key);
    return found == members.end() ? nullptr : found->second.get_if<T>();
}

} // namespace

std::optional<Receipt> receipt_in(const std::string& key, const Value& value) {
    const auto* const members = value.get_if<ValueMap>();
    if (members == nullptr)
        return std::nullopt;
    const auto* const basecode = member<std::string>(*members, basecode_key);
    const auto* const documents = member<ValueVector>(*members, documents_key);
    const auto time = members->find(time_key);
    if (basecode == nullptr || documents == nullptr || time == members->end() ||
        !time_in(time->second))
        return std::nullopt;
    Receipt receipt = {key, *basecode, *time_in(time->second), {}};
    for (const Value& each : *documents) {
        const auto* const line = each.get_if<std::string>();
        auto document = line == nullptr ? std::nullopt : document_in(*line);
        if (!document)
            return std::nullopt;
        receipt.documents.push_back(std::move(*document));
    }
    return receipt;
}

Value value_of(const Receipt& receipt) {
    ValueVector documents;
    documents.reserve(receipt.documents.size());
    for (const Receipt::Document& each : receipt.documents)
        documents.emplace_back(each.sha256 + ' ' + std::to_string(each.size) + ' ' + each.path);
    const long long time = receipt.time.time_since_epoch().count();
    ValueMap members;
    members.emplace(basecode_key, receipt.basecode);
    members.emplace(documents_key, std::move(documents));
    members.emplace(time_key, time);
    return Value(std::move(members));
}

bool counts(const Receipt& receipt, const ValueMap& record) {
    const auto found = record.find(receipt.basecode);
    return found != record.end() && time_in(found->second) == receipt.time;
}

std::vector<Receipt> counting_receipts(const ValueMap& receipts, const ValueMap& record) {
    std::vector<Receipt> counting;
    for (const auto& [key, value] : receipts)
        if (auto receipt = receipt_in(key, value); receipt && counts(*receipt, record))
            counting.push_back(std::move(*receipt));
    return counting;
}

} // namespace install::tree
