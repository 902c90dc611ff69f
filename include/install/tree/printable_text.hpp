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
[[nodiscard]] KX_EXPORT std::string printable_text(std::string_view text);

/// Returns the JSON text `json` without the same, as an equal text that is ASCII where it has to
/// be: a character becomes `\u202e`, and a byte that is no UTF-8 the unpaired `\udcff` of which
/// Python makes the byte again (`surrogateescape`). Throws std::bad_alloc.
[[nodiscard]] KX_EXPORT std::string printable_json(std::string_view json);

} // namespace install::tree
