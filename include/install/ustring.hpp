// The text type, under the name by which the installer's own namespaces know it.

#pragma once

#include "fl/i18n/ustring.hpp"

namespace install {

using fl::ustring;

} // namespace install
