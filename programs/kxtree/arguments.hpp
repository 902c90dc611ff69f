// The command line.

#pragma once

#include "request.hpp"

#include <variant>

namespace kxtree {

/// Returns what the command line asks for; or the exit status, where that was help or the version,
/// which is then printed. Throws Failure on a mistake.
[[nodiscard]] std::variant<Request, ExitStatus> read_arguments(int argc, char** argv);

} // namespace kxtree
