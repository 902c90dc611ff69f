// The name that a misspelt one was meant to be.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kxtree {

/// Returns the name that `text` is most likely a misspelling of, or the beginning of; nothing if
/// none is near.
[[nodiscard]] std::optional<std::string> nearest(std::string_view text,
                                                 const std::vector<std::string>& names);

} // namespace kxtree
