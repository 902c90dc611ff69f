/// \file
/// Whole files as bytes. Encoding, byte-order marks and line ends are not interpreted.
///
/// Failures to open, read or write a file are not reported. For a path that no file can have, all
/// operations throw before they access the file system: std::invalid_argument if the path contains
/// U+0000, fl::i18n::conversion_error if it is ill-formed UTF-16. createParentDirectory checks the
/// parent only, not the last element.

#pragma once

#include "fl/export.hpp"
#include "fl/filesystem/path.hpp"
#include "install/ustring.hpp"

#include <string>

namespace install::product_impl::utils {

/// Returns all bytes of the file at `path`: those before the failure if reading fails, and none if
/// the file cannot be opened. Throws std::bad_alloc and std::length_error.
[[nodiscard]] KX_EXPORT std::string readFile(const ustring& path);

/// Writes `text` to the file at `path`. A missing file is created; an existing one is overwritten
/// in-place, without a temporary file. If the file cannot be opened, it is unchanged. If writing
/// fails after that, for example because the disk is full, its content is unspecified. Throws
/// std::bad_alloc before the file is opened.
KX_EXPORT void writeFile(const ustring& path, const std::string& text);

/// Creates the parent directory of `path`, and all missing parents of that, unless it exists.
/// Throws std::filesystem::filesystem_error, with the path, if a directory cannot be created or if
/// it cannot be determined whether it exists.
KX_EXPORT void createParentDirectory(const fl::filesystem::path& path);

} // namespace install::product_impl::utils
