// The subcommands.

#pragma once

#include "request.hpp"

namespace kxtree {

/// Each returns the exit status, prints to standard output, and throws what the library throws.
[[nodiscard]] int list(const Request& request);
[[nodiscard]] int files(const Request& request);
[[nodiscard]] int owner(const Request& request);
[[nodiscard]] int check(const Request& request);
[[nodiscard]] int remove(const Request& request);
[[nodiscard]] int repair(const Request& request);

} // namespace kxtree
