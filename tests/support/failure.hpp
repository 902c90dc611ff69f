// The text of the exception that an operation throws.

#pragma once

#include <exception>
#include <string>

namespace test {

/// Returns what() of the Error that `operation` throws, "none" if it throws nothing; another
/// exception passes.
template <class Error = std::exception, class Operation>
std::string failure_of(const Operation& operation) {
    try {
        static_cast<void>(operation());
    } catch (const Error& error) {
        return error.what();
    }
    return "none";
}

} // namespace test
