// What a removal did, or would do.

#pragma once

#include "install/tree/change.hpp"

#include <vector>

namespace kxtree {

struct Removal {
    std::vector<install::tree::InstalledProduct> products;
    std::vector<install::tree::ChangeStep> steps;
    bool done = false; ///< otherwise it was a dry run
};

/// Returns the verb of a step.
[[nodiscard]] inline const char* name_of(install::tree::ChangeStep::Kind kind) noexcept {
    using Kind = install::tree::ChangeStep::Kind;
    return kind == Kind::create ? "create" : kind == Kind::replace ? "replace" : "remove";
}

} // namespace kxtree
