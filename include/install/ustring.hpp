/// \file
/// The installer's string type, as a name in its own namespace.

#pragma once

#include "fl/i18n/ustring.hpp"

/// The installer: models, components and products.
namespace install {

/// The string type: see fl::ustring.
using fl::ustring;

} // namespace install
