// The command line.

#pragma once

#include "request.hpp"

#include <variant>

namespace kxtree {

/// Returns what the command line asks for; or the exit status, where it was help, the version or a
/// mistake, which is then printed.
[[nodiscard]] std::variant<Request, ExitStatus> read_arguments(int argc, char** argv);

} // namespace kxtree
