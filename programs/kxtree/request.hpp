// What a command line asks for.

#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kxtree {

enum ExitStatus : int {
    ok = 0,       ///< done; nothing was found to be wrong
    problems = 1, ///< something was
    failed = 2,   ///< the tree could not be read or changed, or the arguments are wrong
    waited = 3,   ///< another process held the lock for longer than --wait allows
};

struct Request {
    std::string root;                  ///< the install root, in UTF-8
    std::vector<std::string> operands; ///< the keys or paths after it, as they were given
    std::optional<std::string> basecode;
    std::optional<std::chrono::milliseconds> wait_at_most;
    bool json = false;
    bool contents = false;
    bool dry_run = false;
    bool apply = false;
    int (*command)(const Request&) = nullptr; ///< one of commands.hpp
};

} // namespace kxtree
