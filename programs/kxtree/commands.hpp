// The subcommands.

#pragma once

#include "request.hpp"

namespace kxtree {

/// Each prints to standard output. It throws what the library throws; Failure where what was asked
/// for is not there; and Interrupted, unless the tree was changed already.
[[nodiscard]] Result list(const Request& request);
[[nodiscard]] Result files(const Request& request);
[[nodiscard]] Result owner(const Request& request);
[[nodiscard]] Result check(const Request& request);
[[nodiscard]] Result sbom(const Request& request); // or to a file
[[nodiscard]] Result remove(const Request& request);
[[nodiscard]] Result prune(const Request& request);
[[nodiscard]] Result repair(const Request& request);

} // namespace kxtree
