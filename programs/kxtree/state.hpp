// The state of a document in a word.

#pragma once

#include "install/tree/health.hpp"

#include <string>

namespace kxtree {

/// Returns "ok", "no receipt" if there was nothing to compare it with, or the name of its fault.
[[nodiscard]] inline std::string state_of(const install::tree::ListedDocument& document) {
    if (document.fault)
        return install::tree::name_of(document.fault->kind);
    return document.has_receipt ? "ok" : "no receipt";
}

} // namespace kxtree
