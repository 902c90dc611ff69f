#pragma once

#include "fl/filesystem/fstream.hpp"

#include <ios>
#include <string>

namespace install::product_impl::utils {

/// The size of a buffer that is worth giving to the file: one system call fills it.
inline constexpr std::streamsize read_buffer_size = 65536;

/// Gives all bytes of `file`, which stands at its beginning. Where reading fails, those up to
/// there; badbit is set then.
[[nodiscard]] std::string read_to_end(fl::filesystem::basic_ifstream<char>& file);

} // namespace install::product_impl::utils
