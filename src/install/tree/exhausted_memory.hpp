// How exhausted memory is reported.

#pragma once

#include "install/tree/tree_error.hpp"

#include <new>
#include <string>
#include <system_error>

namespace install::tree {

// Returns what `call` returns. Where memory runs out, throws tree_error for `operation` and `path`,
// which was made while there was some. Throws std::bad_alloc if there was not even that much.
template <class Call>
auto reporting_exhausted_memory(const char* operation, const std::string& path, const Call& call) {
    const tree_error exhausted(operation, path, std::make_error_code(std::errc::not_enough_memory),
                               "not enough memory");
    try {
        return call();
    } catch (const std::bad_alloc&) {
        throw tree_error(exhausted);
    }
}

} // namespace install::tree
