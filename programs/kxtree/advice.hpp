// What helps against the problems that a repair leaves.

#pragma once

#include "install/tree/repair.hpp"
#include "root.hpp"

#include <string>
#include <vector>

namespace kxtree {

struct Advice {
    std::vector<std::string> products; ///< keys of the products that have to be written again
    std::vector<std::string> actions;  ///< for people: each a clause, printable
};

/// A repair, and what helps against the rest.
struct RepairResult {
    install::tree::RepairReport report = {};
    Advice advice = {};
    std::string root_argument; ///< the root as it was given
    bool is_applied = false;   ///< otherwise it was a dry run
};

/// Returns what helps against `report.remaining`. `root_argument` is the root as it was given.
[[nodiscard]] Advice advice_on(const install::tree::RepairReport& report, const Root& root,
                               const std::string& root_argument);

} // namespace kxtree
