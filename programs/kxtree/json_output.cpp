#include "json_output.hpp"

#include "foundation/json/serialize.hpp"
#include "foundation/json/value.hpp"
#include "install/tree/printable_text.hpp"
#include "iso_time.hpp"

#include <utility>
#include <vector>

namespace kxtree {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using install::tree::Fault;
using install::tree::Listing;

namespace {

// Bytes from a file need not be UTF-8, and JSON must be.
Value text(const std::string& bytes) {
    return Value(install::tree::printable(bytes));
}

template <class Items, class Convert>
Value list(const Items& items, const Convert& convert) {
    ValueVector values;
    for (const auto& item : items)
        values.push_back(convert(item));
    return Value(std::move(values));
}

ValueMap members(const Listing& listing) {
    ValueMap result;
    result.emplace(
        "contents", list(listing.contents, [](const auto& entry) {
            return Value(ValueMap{{"key", text(entry.key)}, {"paths", list(entry.paths, text)}});
        }));
    result.emplace("record", list(listing.record, [](const auto& entry) {
                       const long long time = entry.time.time_since_epoch().count();
                       return Value(ValueMap{{"basecode", text(entry.basecode)},
                                             {"milliseconds", Value(time)},
                                             {"time", Value(iso_time(entry.time))}});
                   }));
    return result;
}

Value faults_as_json(const std::vector<Fault>& faults) {
    return list(faults, [](const Fault& fault) {
        return Value(ValueMap{{"kind", Value(std::string(name_of(fault.kind)))},
                              {"path", text(fault.path)},
                              {"text", Value(fault.text)}});
    });
}

std::string as_line(ValueMap object) {
    return foundation::json::serialize(Value(std::move(object))) + '\n';
}

} // namespace

std::string listing_as_json(const Listing& listing) {
    return as_line(members(listing));
}

std::string health_as_json(const install::tree::Health& health) {
    ValueMap object = members(health.listing);
    object.emplace("documents", Value(static_cast<unsigned long long>(health.documents)));
    object.emplace("healthy", Value(health.problems.empty()));
    object.emplace("notes", faults_as_json(health.notes));
    object.emplace("problems", faults_as_json(health.problems));
    return as_line(std::move(object));
}

} // namespace kxtree
