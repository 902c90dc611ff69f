/// \file
/// Files handled whole, as bytes: no encoding, no byte-order mark, no line ends.
///
/// Reading and writing report no failure; only a path without a native name raises
/// (std::invalid_argument with U+0000 in it, fl::i18n::conversion_error for ill-formed UTF-16).

#pragma once

#include "fl/export.hpp"
#include "fl/filesystem/path.hpp"
#include "install/ustring.hpp"

#include <string>

namespace install::product_impl::utils {

/// Gives all bytes of the file at `path`; those up to the fault if reading stops early, none if it
/// cannot be opened. Raises std::bad_alloc and std::length_error.
[[nodiscard]] KX_EXPORT std::string readFile(const ustring& path);

/// Makes `text` the content of the file at `path`, which is created if it is missing. The file is
/// replaced in place, without a temporary file. If it cannot be opened it stays as it was; what it
/// holds if writing fails later (a full disk) is open.
KX_EXPORT void writeFile(const ustring& path, const std::string& text);

/// Makes the directory that `path` lies in, with all its parents, unless it is there. Raises
/// std::filesystem::filesystem_error, with the path, where it cannot be looked at or made.
KX_EXPORT void createParentDirectory(const fl::filesystem::path& path);

} // namespace install::product_impl::utils
