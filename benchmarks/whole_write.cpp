// Construction of a product from its model, and a write of all files of a product.

#include "documents.hpp"
#include "raw_file.hpp"

#include "install/product_impl/product_impl.hpp"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <vector>

namespace {

using namespace benchmarks;

constexpr std::size_t documents = 20;
constexpr std::size_t document_size = 50000;

void construct_kx(benchmark::State& state) {
    const install::datamodels::transitive_closure::Product model;
    for (std::size_t index = 0; index < documents; ++index)
        model->platformXmls.emplace_back(install::ustring(1, static_cast<char16_t>(u'a' + index)),
                                         install::ustring(document_size, u'x'));
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(install::product_impl::ProductImpl(model));
}
BENCHMARK(construct_kx)->Unit(benchmark::kMicrosecond);

void construct_floor(benchmark::State& state) {
    const std::vector<std::string> texts(documents, std::string(document_size, 'x'));
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(std::vector<std::string>(texts));
}
BENCHMARK(construct_floor)->Unit(benchmark::kMicrosecond);

void whole_serialize(benchmark::State& state) {
    const auto products = static_cast<std::size_t>(state.range(0));
    const auto product = product_to_update(products);
    const std::filesystem::path root =
        std::filesystem::temp_directory_path() / "kx_benchmark_whole_serialize";
    std::filesystem::create_directories(root / "appdata/products");
    write_raw(root / "appdata/prodcontents.json", contents_map(products));
    write_raw(root / "appdata/installedProductData.json", installed_record(products));
    const install::ustring install_root = root.u16string();
    for ([[maybe_unused]] auto _ : state)
        product.serialize(install_root, {platforms[0]}, locale);
    std::filesystem::remove_all(root);
}
BENCHMARK(whole_serialize)->Arg(1)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace
