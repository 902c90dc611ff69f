// A single write, for tools that measure a process: its peak memory, its system calls.
//
//     one_write make N FILE              writes a contents map of N products
//     one_write idle|kx|nlohmann|rapidjson|boost N FILE
//                                        replaces one entry of it, and prints the peak of resident
//                                        memory in bytes; idle replaces nothing
//     one_write serialize N ROOT         creates a tree of N products, then writes one of them

#include "documents.hpp"
#include "peers.hpp"
#include "raw_file.hpp"

#include "fl/i18n/text_conversion.hpp"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace benchmarks;

void update_with(const std::string& what, std::size_t products, const std::string& file) {
    if (what == "kx")
        product_to_update(products).addEntryInContentsMap(
            u"/opt/kit", fl::i18n::utf8_to_ustring(file), platforms, locale);
    else if (what == "nlohmann")
        update<Nlohmann>(file, updated_key(products), updated_paths(products));
    else if (what == "rapidjson")
        update<RapidJson>(file, updated_key(products), updated_paths(products));
    else if (what == "boost")
        update<BoostJson>(file, updated_key(products), updated_paths(products));
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%ld\n", usage.ru_maxrss * 1024);
}

void serialize(std::size_t products, const std::filesystem::path& root) {
    std::filesystem::create_directories(root / "appdata/products");
    write_raw(root / "appdata/prodcontents.json", contents_map(products));
    write_raw(root / "appdata/installedProductData.json", installed_record(products));
    const auto product = product_to_update(products);
    const fl::ustring install_root = root.u16string();
    // Two system calls with unusual arguments mark the beginning and the end of the write.
    static_cast<void>(access("begin of serialize", F_OK));
    product.serialize(install_root, {platforms[0]}, locale);
    static_cast<void>(access("end of serialize", F_OK));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    try {
        const std::string what = argv[1];
        const std::size_t products = std::stoul(argv[2]);
        if (what == "make")
            write_raw(argv[3], contents_map(products));
        else if (what == "serialize")
            serialize(products, argv[3]);
        else
            update_with(what, products, argv[3]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "one_write: %s\n", error.what());
        return 1;
    }
    return 0;
}
