// What is well with an install tree, and what is not.

#pragma once

#include "foundation/json/value.hpp"

#include <string>
#include <vector>

namespace inspect_tree {

struct Health {
    std::vector<std::string> products; // last write and basecode
    std::size_t xml_files = 0;         // listed, and there
    std::vector<std::string> notes;    // worth to know, but nothing is broken
    std::vector<std::string> problems; // may have several lines each
};

/// Looks at the tree below `root`, a path in UTF-8. Changes nothing.
[[nodiscard]] Health inspect(const std::string& root);

} // namespace inspect_tree
