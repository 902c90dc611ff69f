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

} // namespace kxtree
