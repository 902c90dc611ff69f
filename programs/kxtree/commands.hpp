// The subcommands.

#pragma once

#include <optional>
#include <string>

namespace kxtree {

enum ExitStatus : int {
    ok = 0,       ///< done; check found no problem
    problems = 1, ///< check found some
    failed = 2,   ///< the tree could not be read or changed, or the arguments are wrong
};

/// Each returns the exit status, prints to standard output, and throws what the library throws.
/// `root` is the install root in UTF-8.
[[nodiscard]] int list(const std::string& root, bool json);
[[nodiscard]] int check(const std::string& root, bool json);
[[nodiscard]] int remove(const std::string& root, const std::string& key,
                         const std::optional<std::string>& basecode);
[[nodiscard]] int repair(const std::string& root, bool apply);

} // namespace kxtree
