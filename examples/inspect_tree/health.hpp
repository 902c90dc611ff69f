// The state of an install tree.

#pragma once

#include "foundation/json/value.hpp"

#include <string>
#include <vector>

namespace inspect_tree {

struct Health {
    std::vector<std::string> products; // time of the last write, and basecode
    std::size_t xml_files = 0;         // that are listed and exist
    std::vector<std::string> notes;    // worth knowing, but not problems
    std::vector<std::string> problems; // each may have several lines
};

/// Inspects the tree at `root`, a path in UTF-8. Changes nothing.
[[nodiscard]] Health inspect(const std::string& root);

} // namespace inspect_tree
