// A file that is removed by its destructor.

#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace benchmarks {

class TemporaryFile {
public:
    TemporaryFile() : path_(std::filesystem::temp_directory_path() / "kx_benchmark_XXXXXX") {
        const int descriptor = mkstemp(path_.data());
        if (descriptor < 0)
            throw std::runtime_error("cannot create a temporary file");
        close(descriptor);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { std::filesystem::remove(path_); }

    [[nodiscard]] const std::string& path() const noexcept { return path_; }

private:
    std::string path_;
};

} // namespace benchmarks
