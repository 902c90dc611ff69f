/// \file
/// Queries of the file system, and creation of directories.
///
/// For a path that no file can have, every operation throws what
/// fl::filesystem::detail::make_native_access_form_with_cleanup_i18n throws.

#pragma once

#include "fl/export.hpp"
#include "fl/filesystem/path.hpp"
#include "fl/i18n/ustring.hpp"

namespace fl::filesystem {

/// Returns whether a file of any kind exists at `pathname`, following symbolic links. Throws
/// std::filesystem::filesystem_error, with the path, if that cannot be determined, for example for
/// lack of permission.
[[nodiscard]] KX_EXPORT bool exists(const ustring& pathname);
/// \overload
[[nodiscard]] KX_EXPORT bool exists(const path& pathname);

/// Creates the directory `pathname` and all its missing parents. A directory that exists is left as
/// it is; an empty path names the current directory. Throws std::filesystem::filesystem_error, with
/// the path, if a directory cannot be created; parents that were created before remain.
KX_EXPORT void create_directories(const ustring& pathname);

} // namespace fl::filesystem
