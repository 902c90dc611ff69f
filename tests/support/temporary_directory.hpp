// A directory that is removed, with all that is in it, when the test ends.

#pragma once

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
        path_ = mkdtemp(name.data()) != nullptr ? name : throw std::runtime_error("no directory");
    }
    TemporaryDirectory(TemporaryDirectory&&) = delete; // nor a copy
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }

    /// The path of `name` below the directory, or of the directory itself.
    [[nodiscard]] std::filesystem::path path(const std::string& name = "") const {
        return name.empty() ? path_ : path_ / name;
    }
    [[nodiscard]] auto upath(const std::string& name = "") const { return path(name).u16string(); }

    /// All files below the directory, as relative paths.
    [[nodiscard]] std::set<std::string> files() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path_))
            if (!entry.is_directory())
                names.insert(entry.path().string().substr(path_.string().size() + 1));
        return names;
    }

    /// The bytes of a file, read without the library.
    [[nodiscard]] std::string content(const std::string& name) const {
        return (std::ostringstream() << std::ifstream(path(name)).rdbuf()).str();
    }

    void write(const std::string& name, const std::string& bytes) const {
        std::filesystem::create_directories(path(name).parent_path());
        std::ofstream(path(name)) << bytes;
    }

private:
    std::filesystem::path path_;
};

} // namespace test
