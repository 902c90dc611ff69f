// What sentences about a tree are made of.

#pragma once

#include "install/tree/printable_text.hpp"

#include <string>
#include <string_view>

namespace install::tree {

inline constexpr const char* not_regular_text = "This is not a regular file.";

// Returns a text from a file as part of a sentence.
inline std::string in_quotes(std::string_view text) {
    return '"' + printable_text(text) + '"';
}

} // namespace install::tree
