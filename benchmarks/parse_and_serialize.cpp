// Reading and writing text in memory, without a file.

#include "documents.hpp"
#include "peers.hpp"

#include <benchmark/benchmark.h>

namespace {

using namespace benchmarks;

template <class Peer>
void parse(benchmark::State& state, const std::string& text) {
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(Peer::parse(text));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

template <class Peer>
void serialize(benchmark::State& state, const std::string& text) {
    const typename Peer::Tree tree = Peer::parse(text);
    std::size_t bytes = 0;
    for ([[maybe_unused]] auto _ : state) {
        const std::string written = Peer::write(tree);
        benchmark::DoNotOptimize(written.data());
        bytes += written.size();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}

template <class Peer>
void add(const std::string& peer) {
    const struct {
        const char* name;
        std::string text;
    } documents[] = {{"contents_map", contents_map(10000)},
                     {"installed_record", installed_record(10000)},
                     {"typed_integers", typed_integers(100000)},
                     {"escapes", escapes(20000)}};
    for (const auto& [name, text] : documents) {
        benchmark::RegisterBenchmark(("parse_" + peer + "/" + name).c_str(), parse<Peer>, text)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("serialize_" + peer + "/" + name).c_str(), serialize<Peer>,
                                     text)
            ->Unit(benchmark::kMicrosecond);
    }
}

const bool added = [] {
    add<Kx>("kx");
    add<Nlohmann>("nlohmann");
    add<RapidJson>("rapidjson");
    add<BoostJson>("boost");
    return true;
}();

} // namespace
