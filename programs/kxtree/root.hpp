// The install root, as the library takes it.

#pragma once

#include "install/ustring.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kxtree {

/// The library takes UTF-8 alone. While an object of any other root is alive, the root is the
/// working directory, and its name is `.`.
class Root {
public:
    /// Throws install::tree::tree_error if a root that is not UTF-8 cannot be entered.
    explicit Root(const std::string& root);
    Root(const Root&) = delete;
    Root& operator=(const Root&) = delete;
    ~Root();

    [[nodiscard]] const install::ustring& name() const noexcept { return name_; }
    /// The same in UTF-8.
    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    /// Returns a path that the library has named as people may use it.
    [[nodiscard]] std::string as_given(const std::string& file) const;
    /// Returns the path of a file in appdata, as the library names it.
    [[nodiscard]] std::string path_of(std::string_view file) const;

private:
    std::string given_;
    std::string path_;
    install::ustring name_;
    std::optional<std::filesystem::path> previous_; // the working directory, if it was changed
};

} // namespace kxtree
