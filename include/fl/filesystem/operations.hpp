/// \file
/// Questions to the file system, and directories.
///
/// Every operation raises what fl::filesystem::detail::make_native_access_form_with_cleanup_i18n
/// raises for a path that has no native name.

#pragma once

#include "fl/export.hpp"
#include "fl/filesystem/path.hpp"
#include "fl/i18n/ustring.hpp"

namespace fl::filesystem {

/// True if something is at `pathname`, links followed; false only if nothing is there. What could
/// not be looked at is neither: std::filesystem::filesystem_error, with the path.
[[nodiscard]] KX_EXPORT bool exists(const ustring& pathname);
/// \overload
[[nodiscard]] KX_EXPORT bool exists(const path& pathname);

/// Makes the directory `pathname` with all its missing parents; one that is there stays as it is,
/// and an empty path stands for the current directory. Raises std::filesystem::filesystem_error
/// with the path; parents made before the failure stay.
KX_EXPORT void create_directories(const ustring& pathname);

} // namespace fl::filesystem
