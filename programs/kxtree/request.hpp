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
    /// The tree was changed, but this could not be printed, or may not survive a power failure.
    only_changed = 4,
    interrupted = 128, ///< by the signal with the number that is added to this
};

/// What became of a command.
struct Result {
    int status;               ///< the exit status, if all of the output can be written
    bool has_changed = false; ///< the tree
};

struct Request {
    std::string name;                  ///< of the command
    std::string root;                  ///< the install root
    std::vector<std::string> operands; ///< the keys or paths after it, as they were given
    std::optional<std::string> basecode;
    std::optional<std::string> output; ///< a file for it; none: standard output
    std::optional<std::chrono::milliseconds> wait_at_most;
    bool json = false;
    bool keys = false;
    bool contents = false;
    bool dry_run = false;
    bool apply = false;
    bool only_mount = false;
    Result (*command)(const Request&) = nullptr; ///< one of commands.hpp
};

} // namespace kxtree
