// Points in time as text.

#pragma once

#include "install/tree/install_tree.hpp"

#include <string>

namespace kxtree {

/// Returns `time` as ISO 8601 in UTC, with milliseconds.
[[nodiscard]] std::string iso_time(install::tree::InstallTree::Time time);

} // namespace kxtree
