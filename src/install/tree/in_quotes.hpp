// Texts from files, within sentences.

#pragma once

#include "install/tree/printable_text.hpp"

#include <string>
#include <string_view>

namespace install::tree {

inline std::string in_quotes(std::string_view text) {
    return '"' + printable_text(text) + '"';
}

} // namespace install::tree
