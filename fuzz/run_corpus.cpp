// Runs a fuzz target over the files of a folder, without a fuzzer.

#include "fuzz_target.hpp"

#include <filesystem>
#include <fstream>
#include <sstream>

int main(int argc, char** argv) {
    int files = 0;
    for (int index = 1; index < argc; ++index)
        for (const auto& entry : std::filesystem::directory_iterator(argv[index])) {
            std::ostringstream bytes;
            bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
            const std::string text = bytes.str();
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
            ++files;
        }
    std::printf("%d inputs\n", files);
    return files > 0 ? 0 : 1; // an empty corpus tests nothing
}
