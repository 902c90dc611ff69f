#pragma once

#include "fl/filesystem/fstream.hpp"

#include <string>

namespace install::product_impl::utils {

/// Gives all bytes that are left in `file`. Where reading fails, those up to there; badbit is set
/// then.
[[nodiscard]] std::string read_to_end(fl::filesystem::basic_ifstream<char>& file);

} // namespace install::product_impl::utils
