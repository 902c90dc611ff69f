// The library's main task: replace one product's entry in a contents map of N products.

#include "documents.hpp"
#include "peers.hpp"
#include "raw_file.hpp"
#include "temporary_file.hpp"

#include "fl/i18n/text_conversion.hpp"

#include <benchmark/benchmark.h>

namespace {

using namespace benchmarks;

template <class Update>
void run(benchmark::State& state, const Update& update) {
    const auto products = static_cast<std::size_t>(state.range(0));
    const TemporaryFile file;
    const std::string text = contents_map(products);
    write_raw(file.path(), text);
    for ([[maybe_unused]] auto _ : state)
        update(file.path(), products);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    if (read_raw(file.path()) != text) // the entry is replaced with an equal one
        state.SkipWithError("the file has changed");
}

void update_kx(benchmark::State& state) {
    const auto product = product_to_update(static_cast<std::size_t>(state.range(0)));
    run(state, [&](const std::string& path, std::size_t /*products*/) {
        product.addEntryInContentsMap(u"/opt/kit", fl::i18n::utf8_to_ustring(path), platforms,
                                      locale);
    });
}

template <class Peer>
void update_peer(benchmark::State& state) {
    run(state, [](const std::string& path, std::size_t products) {
        update<Peer>(path, updated_key(products), updated_paths(products));
    });
}

void update_floor(benchmark::State& state) {
    run(state,
        [](const std::string& path, std::size_t /*products*/) { write_raw(path, read_raw(path)); });
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK(update_kx)->Apply(sizes);
BENCHMARK(update_peer<Nlohmann>)->Name("update_nlohmann")->Apply(sizes);
BENCHMARK(update_peer<RapidJson>)->Name("update_rapidjson")->Apply(sizes);
BENCHMARK(update_peer<BoostJson>)->Name("update_boost")->Apply(sizes);
BENCHMARK(update_floor)->Apply(sizes);

} // namespace
