/// \file
/// Strings from files, for a terminal.

#pragma once

#include "fl/export.hpp"

#include <string>
#include <string_view>

namespace install::tree {

/// Returns `text` without anything that a terminal would obey. Control characters, line separators,
/// characters that change the direction of writing, and bytes that are not UTF-8 are escaped, as
/// `\x1b` or `\u{202e}`. A backslash stays as it is. Throws std::bad_alloc.
[[nodiscard]] KX_EXPORT std::string printable_text(std::string_view text);

/// Does the same for the JSON text `json`, by JSON's own escapes, so that a parser restores all of
/// it: a character becomes an escape such as `\u202e`, and a byte that is not UTF-8 an unpaired
/// surrogate such as `\udcff`, which Python turns into the byte again (`surrogateescape`). `json`
/// must not have control characters outside of strings. Throws std::bad_alloc.
[[nodiscard]] KX_EXPORT std::string printable_json(std::string_view json);

} // namespace install::tree
