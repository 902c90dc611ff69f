// What any parser must do at least that yields the public types: make the map, the vectors and the
// strings. Two lower bounds, neither of which reads a text.

#include "documents.hpp"
#include "peers.hpp"

#include <benchmark/benchmark.h>

#include <utility>

namespace {

using namespace benchmarks;
using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;

// The parts of an element are at hand, as a parser of no cost would find them in the text.
Value made_of(const Value& parts) {
    if (const auto* const text = parts.get_if<std::string>())
        return Value(*text);
    const auto* const list = parts.get_if<ValueVector>();
    if (list == nullptr)
        return Value(parts.get<double>());
    ValueVector made;
    made.reserve(list->size());
    for (const Value& element : *list)
        made.emplace_back(element.get<std::string>());
    return Value(std::move(made));
}

void build(benchmark::State& state, const std::string& text) {
    const Value parsed = Kx::parse(text);
    std::vector<std::pair<std::string, Value>> members;
    for (const auto& [key, value] : parsed.get<ValueMap>())
        members.emplace_back(key, value);
    for ([[maybe_unused]] auto _ : state) {
        ValueMap map;
        for (const auto& [key, value] : members)
            map.emplace_hint(map.end(), key, made_of(value));
        benchmark::DoNotOptimize(Value(std::move(map)));
    }
}

void copy(benchmark::State& state, const std::string& text) {
    const Value parsed = Kx::parse(text);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(Value(parsed));
}

const bool added = [] {
    const std::pair<std::string, std::string> documents[] = {
        {"contents_map", contents_map(10000)}, {"installed_record", installed_record(10000)}};
    for (const auto& [name, text] : documents) {
        benchmark::RegisterBenchmark(("parse_build/" + name).c_str(), build, text)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("parse_copy/" + name).c_str(), copy, text)
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

} // namespace
