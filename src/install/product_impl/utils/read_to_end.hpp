#pragma once

#include "fl/filesystem/fstream.hpp"

#include <cstddef>
#include <string>

namespace install::product_impl::utils {

/// The size of a buffer that is worth giving to the file: one system call fills it.
inline constexpr std::size_t read_buffer_size = 65536;

/// Gives all bytes that are left in `file`. Where reading fails, those up to there; badbit is set
/// then.
[[nodiscard]] std::string read_to_end(fl::filesystem::basic_ifstream<char>& file);

} // namespace install::product_impl::utils
