#pragma once

#include "fl/filesystem/fstream.hpp"

#include <ios>
#include <string>

namespace install::product_impl::utils {

// The size of a buffer that is worth giving to a file that is read: one system call fills it.
inline constexpr std::streamsize read_buffer_size = 65536;

// Returns all bytes of `file` from where it stands; where reading fails, those before the failure,
// with badbit set. Throws std::bad_alloc and std::length_error.
[[nodiscard]] std::string read_to_end(fl::filesystem::basic_ifstream<char>& file);

} // namespace install::product_impl::utils
