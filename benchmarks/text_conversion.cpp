// Texts as an installer has them, from one encoding to the other.

#include "fl/i18n/text_conversion.hpp"

#include <benchmark/benchmark.h>

#include <string>

namespace {

constexpr std::size_t least_size = 50000;

constexpr const char* ascii =
    "<package name=\"libbase\"><summary>what every program stands on</summary></package>\n";
constexpr const char* german =
    "<Paket name=\"libbase\"><Kurztext>Worauf jedes Programm aufsetzt, für größere Übersicht"
    "</Kurztext></Paket>\n";
constexpr const char* chinese = "这个软件包包含了所有程序所需要的基本库，安装之后即可使用。";

std::string repeated(const char* text) {
    std::string result;
    while (result.size() < least_size)
        result += text;
    return result;
}

// Speeds are in bytes of UTF-8, in both directions.
void to_utf8(benchmark::State& state, const char* text) {
    const fl::ustring utf16 = fl::i18n::utf8_to_ustring(repeated(text));
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(fl::i18n::ustring_to_utf8(utf16));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(repeated(text).size()));
}

void to_utf16(benchmark::State& state, const char* text) {
    const std::string utf8 = repeated(text);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(fl::i18n::utf8_to_ustring(utf8));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(utf8.size()));
}

BENCHMARK_CAPTURE(to_utf8, ascii, ascii);
BENCHMARK_CAPTURE(to_utf8, german, german);
BENCHMARK_CAPTURE(to_utf8, chinese, chinese);
BENCHMARK_CAPTURE(to_utf16, ascii, ascii);
BENCHMARK_CAPTURE(to_utf16, german, german);
BENCHMARK_CAPTURE(to_utf16, chinese, chinese);

} // namespace
