/// \file
/// Conversion of a pathname to the narrow name that the platform's calls take.

#pragma once

#include "fl/export.hpp"
#include "fl/i18n/ustring.hpp"

#include <string>

/// Operations on the text of a path, on which paths and streams are built.
namespace fl::filesystem::detail {

/// Returns `path` in the encoding that fopen takes: UTF-8 on POSIX.
///
/// Throws fl::i18n::conversion_error if `path` is ill-formed UTF-16; std::invalid_argument if it
/// contains U+0000, because the platform would end the name there and open another file; and
/// std::bad_alloc.
[[nodiscard]] KX_EXPORT std::string make_native_access_form_with_cleanup_i18n(const ustring& path);

} // namespace fl::filesystem::detail
