/// \file
/// The text type of the installer.

#pragma once

#include <string>

/// What the installer is built on: texts and files.
namespace fl {

/// A text in UTF-16. Lengths and positions count 16-bit code units, and texts sort by them. The
/// type promises nothing about well-formedness: unpaired surrogates are found where a text is
/// converted.
using ustring = std::u16string;

} // namespace fl
