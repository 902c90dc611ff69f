/// \file
/// From a pathname to the narrow name that the platform's calls take.

#pragma once

#include "fl/export.hpp"
#include "fl/i18n/ustring.hpp"

#include <string>

/// What paths and streams are built on. It works on the texts of paths.
namespace fl::filesystem::detail {

/// Gives `path` as fopen takes it: UTF-8 on POSIX. Raises std::invalid_argument where `path` holds
/// U+0000, since the platform would open another file, and fl::i18n::conversion_error where it is
/// no well-formed UTF-16.
[[nodiscard]] KX_EXPORT std::string make_native_access_form_with_cleanup_i18n(const ustring& path);

} // namespace fl::filesystem::detail
