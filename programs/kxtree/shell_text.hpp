// Commands that can be copied into a shell.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kxtree {

/// Returns `word` as a shell reads it back, printable: in quotes where it has to be; in those of
/// bash, $'...', if it has bytes that a terminal would obey.
[[nodiscard]] std::string shell_word(std::string_view word);

/// Returns a command line: `kxtree COMMAND ROOT KEY...`.
[[nodiscard]] std::string command_line(std::string_view command, std::string_view root,
                                       const std::vector<std::string>& keys = {});

} // namespace kxtree
