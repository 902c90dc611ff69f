#include "json_output.hpp"

#include "foundation/json/serialize.hpp"
#include "foundation/json/value.hpp"
#include "install/tree/printable_text.hpp"
#include "iso_time.hpp"
#include "products.hpp"
#include "state.hpp"

#include <cstdint>
#include <optional>
#include <utility>

namespace kxtree {

using foundation::json::Null;
using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using install::tree::Fault;
using install::tree::Listing;
using Time = install::tree::InstallTree::Time;

namespace {

Value text(std::string bytes) {
    return Value(std::move(bytes));
}

Value number(std::uint64_t count) {
    return Value(static_cast<unsigned long long>(count));
}

template <class Items, class Convert>
Value list(const Items& items, const Convert& convert) {
    ValueVector values;
    for (const auto& item : items)
        values.push_back(convert(item));
    return Value(std::move(values));
}

Value text_or_null(const std::optional<std::string>& bytes) {
    return bytes ? text(*bytes) : Value(Null());
}

// The object of something that has a time, or null twice.
Value with_time(ValueMap object, const std::optional<Time>& time) {
    object.emplace("milliseconds",
                   time ? Value(static_cast<long long>(time->time_since_epoch().count()))
                        : Value(Null()));
    object.emplace("time", time ? text(iso_time(*time)) : Value(Null()));
    return Value(std::move(object));
}

Value product_as_json(const Product& product) {
    const auto* const receipt = product.receipt;
    const auto* const names = receipt_with_names(product);
    return with_time({{"key", text(product.entry->key)},
                      {"basecode", receipt ? text(receipt->basecode) : Value(Null())},
                      {"files", list(product.entry->paths, text)},
                      {"name", names ? text(names->name) : Value(Null())},
                      {"version", names ? text(names->version) : Value(Null())},
                      {"platforms", names ? list(names->platforms, text) : Value(Null())},
                      {"locale", names ? text(names->locale) : Value(Null())}},
                     receipt ? std::optional(receipt->time) : std::nullopt);
}

ValueMap members(const Listing& listing) {
    ValueMap result;
    result.emplace("products", list(products_of(listing), product_as_json));
    result.emplace("record", list(listing.record, [](const auto& entry) {
                       return with_time({{"basecode", text(entry.basecode)}}, entry.time);
                   }));
    return result;
}

Value faults_as_json(const std::vector<Fault>& faults) {
    return list(faults, [](const Fault& fault) {
        return Value(ValueMap{{"kind", text(name_of(fault.kind))},
                              {"path", text(fault.path)},
                              {"text", text(fault.text)}});
    });
}

// Members may be added in the same version; those that there are keep their meaning.
constexpr std::uint64_t format_version = 1;

std::string as_line(ValueMap object) {
    object.emplace("version", number(format_version));
    const std::string json = foundation::json::serialize(Value(std::move(object)));
    return install::tree::printable_json(json) + '\n';
}

} // namespace

std::string listing_as_json(const Listing& listing) {
    return as_line(members(listing));
}

std::string documents_as_json(const std::string& key,
                              const std::vector<install::tree::ListedDocument>& documents) {
    return as_line({{"key", text(key)},
                    {"files", list(documents, [](const auto& document) {
                         const auto& fault = document.fault;
                         return Value(
                             ValueMap{{"path", text(document.path)},
                                      {"file", text(document.file)},
                                      {"size", number(document.size)},
                                      {"state", text(state_of(document))},
                                      {"text", fault ? text(fault->text) : Value(Null())}});
                     })}});
}

std::string owners_as_json(const std::vector<OwnedPath>& paths) {
    return as_line(
        {{"paths", list(paths, [](const OwnedPath& owned) {
              return Value(ValueMap{{"path", text(owned.path)}, {"keys", list(owned.keys, text)}});
          })}});
}

std::string health_as_json(const install::tree::Health& health) {
    ValueMap object = members(health.listing);
    object.emplace("documents", number(health.documents));
    object.emplace("complete", Value(health.is_complete));
    object.emplace("healthy", Value(health.problems.empty()));
    object.emplace("notes", faults_as_json(health.notes));
    object.emplace("problems", faults_as_json(health.problems));
    object.emplace("without_receipt", number(count_without_receipt(health.listing)));
    return as_line(std::move(object));
}

std::string removal_as_json(const Removal& removal) {
    return as_line(
        {{"removed", list(removal.products,
                          [](const auto& product) {
                              return Value(ValueMap{{"key", text(product.key)},
                                                    {"basecode", text_or_null(product.basecode)}});
                          })},
         {"documents", list(removal.documents, text)},
         {"changed", Value(removal.done)}});
}

std::string prune_as_json(const install::tree::PruneReport& report, bool has_changed) {
    return as_line({{"documents", list(report.documents, text)},
                    {"notes", faults_as_json(report.notes)},
                    {"changed", Value(has_changed)}});
}

std::string repair_as_json(const RepairResult& repair) {
    const auto& report = repair.report;
    return as_line(
        {{"steps",
          list(report.steps,
               [](const auto& step) {
                   return Value(ValueMap{{"path", text(step.path)}, {"text", text(step.text)}});
               })},
         {"notes", faults_as_json(report.notes)},
         {"remaining", faults_as_json(report.remaining)},
         {"write_again", list(repair.advice.products, text)},
         {"changed", Value(repair.is_applied && !report.steps.empty())}});
}

} // namespace kxtree
