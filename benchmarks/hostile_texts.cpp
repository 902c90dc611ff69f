// The time to read texts that are made to be slow, by size: it must grow linearly, which
// tools/benchmark checks.

#include "foundation/json/detail/parse_value.hpp"

#include <benchmark/benchmark.h>

#include <string>

namespace {

using namespace foundation::json;

// Reads a text of the size in the state's range: `begin`, followed by repetitions of `piece`.
void read(benchmark::State& state, const std::string& begin, const std::string& piece,
          bool allow_comments) {
    const auto size = static_cast<std::size_t>(state.range(0));
    std::string text = begin;
    text.reserve(size + piece.size());
    while (text.size() < size)
        text += piece;
    for ([[maybe_unused]] auto _ : state) {
        Value out;
        auto pos = text.cbegin();
        benchmark::DoNotOptimize(detail::parse_value(out, pos, text.cend(), allow_comments));
        benchmark::DoNotOptimize(out);
    }
}

// Both are larger than the caches, so that only the reader makes a difference between them.
void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(2 << 20)->Arg(8 << 20)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(read, open_brackets, "", "[", false)->Apply(sizes);
BENCHMARK_CAPTURE(read, flat_brackets, "[", "[],", false)->Apply(sizes);
BENCHMARK_CAPTURE(read, unicode_escapes, "\"", "\\u0041", false)->Apply(sizes);
BENCHMARK_CAPTURE(read, low_surrogates, "{\"a\":\"", "\\udc00", false)->Apply(sizes);
BENCHMARK_CAPTURE(read, lone_high_surrogates, "{\"a\":\"", "\\ud83d\\u0041", false)->Apply(sizes);
BENCHMARK_CAPTURE(read, typed_objects, "", "{\"kxdata\":[1],\"kxtype\":\"int8\",", false)
    ->Apply(sizes);
BENCHMARK_CAPTURE(read, typed_members, "{", "\"kxdata\":[1],\"kxtype\":\"int8\",", false)
    ->Apply(sizes);
BENCHMARK_CAPTURE(read, digits, "", "1", false)->Apply(sizes);
BENCHMARK_CAPTURE(read, typed_digits, "{\"kxtype\":\"int8\",\"kxdata\":[", "1", false)
    ->Apply(sizes);
BENCHMARK_CAPTURE(read, equal_keys, "{", "\"a\":1,", false)->Apply(sizes);
BENCHMARK_CAPTURE(read, open_comments, "[", "/*", true)->Apply(sizes);
BENCHMARK_CAPTURE(read, closed_comments, "[", "/**/", true)->Apply(sizes);

} // namespace
