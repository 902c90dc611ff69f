// A directory that is gone, with all that is in it, when the test ends.

#pragma once

#include "fl/i18n/ustring.hpp"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include <cstdlib>

namespace test {

class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "kx_test_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no temporary directory");
        path_ = name;
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    /// The path of `name` below the directory, or of the directory itself.
    [[nodiscard]] std::filesystem::path path(const std::string& name = "") const {
        return name.empty() ? path_ : path_ / name;
    }
    [[nodiscard]] fl::ustring upath(const std::string& name = "") const {
        return path(name).u16string();
    }

    /// All files below the directory, as relative paths.
    [[nodiscard]] std::set<std::string> files() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path_))
            if (!entry.is_directory())
                names.insert(std::filesystem::relative(entry.path(), path_).string());
        return names;
    }

    /// The bytes of a file, read without the library.
    [[nodiscard]] std::string content(const std::string& name) const {
        std::ostringstream bytes;
        bytes << std::ifstream(path(name), std::ios::binary).rdbuf();
        return bytes.str();
    }

    void write(const std::string& name, const std::string& bytes) const {
        std::filesystem::create_directories(path(name).parent_path());
        std::ofstream(path(name), std::ios::binary) << bytes;
    }

private:
    std::filesystem::path path_;
};

} // namespace test
