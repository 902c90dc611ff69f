// Whole files, read and written by system calls: a lower bound for all times, and the same for all
// peers.

#pragma once

#include <string>

namespace benchmarks {

[[nodiscard]] std::string read_raw(const std::string& path);
void write_raw(const std::string& path, const std::string& text);

} // namespace benchmarks
