// Runs a fuzz target over the files of a folder, without a fuzzer.

#include "fuzz_target.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>

int main(int /*argc*/, char** argv) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        ++files;
    }
    std::printf("%d inputs\n", files);
    return files > 0 ? 0 : 1; // an empty corpus tests nothing
}
