// Files by the bare system calls: the floor that the disk sets, and the same ground for all peers.

#pragma once

#include <string>

namespace benchmarks {

[[nodiscard]] std::string read_raw(const std::string& path);
void write_raw(const std::string& path, const std::string& text);

} // namespace benchmarks
