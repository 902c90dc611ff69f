// Many products written to an install tree: as one change, one by one, and as nothing but their
// files.
//
// The trees are in the directory that KX_BENCHMARK_DIRECTORY names, because a temporary directory
// may be in memory, where flushing costs nothing.

#include "raw_file.hpp"

#include "install/tree/health.hpp"
#include "install/tree/install_tree.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using install::tree::InstallTree;
using install::tree::ProductSelection;
using Selections = std::vector<ProductSelection>;

constexpr std::size_t present_products = 10000;

install::ustring ascii(const std::string& text) {
    return {text.begin(), text.end()};
}

ProductSelection selection(const std::string& name, char16_t letter) {
    install::datamodels::transitive_closure::Product model;
    model->basecode = model->name = ascii(name);
    model->version = u"1.0";
    model->platformXmls = {{u"hostpf", install::ustring(300, letter)}};
    model->localeXmls = {{u"en", install::ustring(300, letter)}};
    return {std::make_shared<install::product_impl::ProductImpl>(model), {"hostpf"}, "en"};
}

const Selections& selections(const std::string& name, std::size_t count, char16_t letter = u'x') {
    static std::map<std::string, Selections> made;
    Selections& all = made[name + std::to_string(count) + static_cast<char>(letter)];
    while (all.size() < count)
        all.push_back(selection(name + ' ' + std::to_string(all.size()), letter));
    return all;
}

// The directory of all trees, removed when the program ends.
class Trees {
public:
    Trees() {
        const char* const directory = std::getenv("KX_BENCHMARK_DIRECTORY");
        std::string path =
            (directory != nullptr ? fs::path(directory) : fs::temp_directory_path()) / "kx_XXXXXX";
        path_ = mkdtemp(path.data());
    }
    Trees(const Trees&) = delete;
    Trees& operator=(const Trees&) = delete;
    ~Trees() { fs::remove_all(path_); }

    [[nodiscard]] fs::path add() { return path_ / std::to_string(count_++); }

private:
    fs::path path_;
    int count_ = 0;
};

class Tree {
public:
    explicit Tree(std::size_t products) {
        static Trees trees;
        path_ = trees.add();
        fs::create_directory(path_);
        InstallTree(root()).write(selections("present", products));
        flush();
    }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;
    ~Tree() { fs::remove_all(path_); } // all of them together would fill the disk

    [[nodiscard]] install::ustring root() const { return path_.u16string(); }
    [[nodiscard]] const fs::path& path() const { return path_; }

    void flush() const {
        const int directory = open(path_.c_str(), O_RDONLY);
        syncfs(directory);
        close(directory);
    }

private:
    fs::path path_;
};

// Takes the time of `write` on a new tree, which has the second argument of the benchmark as
// products.
template <class Write>
void run(benchmark::State& state, const Write& write) {
    const Selections& products = selections("new", static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        const Tree tree(static_cast<std::size_t>(state.range(1)));
        const auto start = std::chrono::steady_clock::now();
        write(tree, products);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count());
    }
}

void write_at_once(const Tree& tree, const Selections& products) {
    InstallTree(tree.root()).write(products);
}

void write_one_by_one(const Tree& tree, const Selections& products) {
    for (const ProductSelection& each : products)
        each.product->serialize(tree.root(), each.platforms, each.locale);
}

// The files of a tree whose names, or those of their folders, begin with `name`; and the shared
// ones.
using Files = std::map<fs::path, std::string>;
Files files_of(const Tree& tree, const std::string& name) {
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(tree.path()))
        if (entry.is_regular_file() && (entry.path().extension() == ".json" ||
                                        entry.path().filename().string().starts_with(name)))
            files[fs::relative(entry.path(), tree.path())] = benchmarks::read_raw(entry.path());
    return files;
}

// The bytes that a tree gets: new documents, and the shared files as a whole.
void tree_floor(benchmark::State& state) {
    const Selections& products = selections("new", static_cast<std::size_t>(state.range(0)));
    const Tree written(static_cast<std::size_t>(state.range(1)));
    InstallTree(written.root()).write(products);
    const Files files = files_of(written, "new");
    run(state, [&](const Tree& tree, const Selections&) {
        fs::create_directories(tree.path() / "appdata/products");
        for (const auto& [name, bytes] : files)
            benchmarks::write_raw(tree.path() / name, bytes);
        tree.flush();
    });
}

// All products of a tree get new documents.
void replace_at_once(const Tree& tree, const Selections&) {
    InstallTree(tree.root()).write(selections("present", present_products, u'z'));
}

// The calls that this takes at least: each file is created, and renamed over the old one.
void replace_floor(benchmark::State& state) {
    const Files files = files_of(Tree(present_products), "present");
    run(state, [&](const Tree& tree, const Selections&) {
        const fs::path staged = tree.path() / "staged";
        for (const auto& [name, bytes] : files) {
            benchmarks::write_raw(staged, bytes);
            fs::rename(staged, tree.path() / name);
        }
        tree.flush();
    });
}

// Other programs have written that much, and the system has not yet.
void write_beside_others(benchmark::State& state) {
    const Selections& products = selections("new", 1);
    for ([[maybe_unused]] auto _ : state) {
        const Tree tree(present_products);
        std::ofstream other(tree.path() / "other", std::ios::binary);
        const std::string megabyte(1 << 20, 'o');
        for (int count = 0; count < 1500; ++count)
            other << megabyte;
        other.flush();
        const auto start = std::chrono::steady_clock::now();
        write_at_once(tree, products);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count());
        other.close();
        fs::resize_file(tree.path() / "other", 0);
    }
}

// What else brings the same files into an empty directory and flushes them. `command` is for the
// shell: $1 is the directory of the files, $2 the one that gets them.
void by_command(benchmark::State& state, const char* prepare, const char* command) {
    const Tree source(static_cast<std::size_t>(state.range(0)));
    const auto shell = [&](const char* what, const Tree& tree) {
        const std::string line =
            "set -e -- '" + source.path().string() + "' '" + tree.path().string() + "'; " + what;
        if (std::system(line.c_str()) != 0)
            state.SkipWithError(what);
    };
    for ([[maybe_unused]] auto _ : state) {
        const Tree tree(0);
        shell(prepare, tree);
        source.flush();
        const auto start = std::chrono::steady_clock::now();
        shell(command, tree);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count());
    }
}

// Takes the time of `check_tree` on a tree of all products.
template <class Check>
void check(benchmark::State& state, const Check& check_tree) {
    const Tree tree(present_products);
    for ([[maybe_unused]] auto _ : state)
        check_tree(tree);
}

void inspect_list(const Tree& tree) {
    benchmark::DoNotOptimize(install::tree::inspect(tree.root()));
}

void inspect_contents(const Tree& tree) {
    benchmark::DoNotOptimize(install::tree::inspect(tree.root(), {.contents = true}));
}

// What one would do without receipts: compare digests that somebody has kept.
void digest_all(const Tree& tree) {
    const std::string command = "find '" + tree.path().string() + "' -type f -exec sha256sum {} +";
    if (std::system((command + " >/dev/null").c_str()) != 0)
        throw std::runtime_error(command);
}

void each_size(benchmark::internal::Benchmark* benchmark) {
    for (const std::int64_t present : {std::int64_t(0), std::int64_t(present_products)})
        for (const std::int64_t count : {1, 1000, 10000})
            benchmark->Args({count, present});
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond);
}

// Ten thousand one by one take half a minute.
void up_to_each_size_once(benchmark::internal::Benchmark* benchmark) {
    benchmark->Args({1, present_products})->Args({1000, 0})->Args({1000, present_products});
    benchmark->Args({10000, 0})->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
}

void all_present(benchmark::internal::Benchmark* benchmark) {
    benchmark->Args({1, present_products})->UseManualTime()->Unit(benchmark::kMillisecond);
}

void into_an_empty_tree(benchmark::internal::Benchmark* benchmark) {
    benchmark->Args({10000, 0})->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(run, write, write_at_once)->Name("tree_write")->Apply(each_size);
BENCHMARK(tree_floor)->Apply(each_size);
BENCHMARK_CAPTURE(run, replace, replace_at_once)->Name("replace_write")->Apply(all_present);
BENCHMARK(replace_floor)->Apply(all_present);
BENCHMARK(write_beside_others)->Name("beside_write")->Apply(all_present);
BENCHMARK_CAPTURE(by_command, tar, "tar -cf $1.tar -C $1 .", "tar -xf $1.tar -C $2; sync -f $2")
    ->Name("tree_tar")
    ->Apply(into_an_empty_tree);
BENCHMARK_CAPTURE(by_command, cp, ":", "cp -r $1/. $2; sync -f $2")
    ->Name("tree_cp")
    ->Apply(into_an_empty_tree);
BENCHMARK_CAPTURE(by_command, rsync, ":", "rsync -a $1/ $2; sync -f $2")
    ->Name("tree_rsync")
    ->Apply(into_an_empty_tree);
BENCHMARK_CAPTURE(by_command, ostree,
                  "rm -rf $1.repo; ostree init --repo=$1.repo --mode=bare-user-only",
                  "ostree commit --repo=$1.repo -b kit $1 >/dev/null;"
                  "rmdir $2; ostree checkout --repo=$1.repo kit $2; sync -f $2")
    ->Name("tree_ostree")
    ->Apply(into_an_empty_tree);
BENCHMARK_CAPTURE(run, serialize, write_one_by_one)
    ->Name("tree_serialize")
    ->Apply(up_to_each_size_once);
BENCHMARK_CAPTURE(check, list, inspect_list)
    ->Name("check_list/10000")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(check, contents, inspect_contents)
    ->Name("check_contents/10000")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(check, sha256sum, digest_all)
    ->Name("check_sha256sum/10000")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
