/// \file
/// The text type, under the name by which the installer's own namespaces know it.

#pragma once

#include "fl/i18n/ustring.hpp"

/// The installer's own: models, components and products.
namespace install {

/// The text type: see fl::ustring.
using fl::ustring;

} // namespace install
