/// \file
/// The installer's text type, as a name in its own namespace.

#pragma once

#include "fl/i18n/ustring.hpp"

/// The installer: models, components and products.
namespace install {

/// The text type: see fl::ustring.
using fl::ustring;

} // namespace install
