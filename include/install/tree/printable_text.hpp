/// \file
/// Texts from files, for a terminal.

#pragma once

#include "fl/export.hpp"

#include <string>
#include <string_view>

namespace install::tree {

/// Returns `text` without anything that a terminal would obey: control characters, those that
/// change the direction of writing, and bytes that are no UTF-8 become `\x1b` or `\u{202e}`. A
/// backslash stays as it is. Throws std::bad_alloc.
[[nodiscard]] KX_EXPORT std::string printable(std::string_view text);

} // namespace install::tree
