/// \file
/// The text type of the installer.

#pragma once

#include <string>

/// Texts and files, on which the installer is built.
namespace fl {

/// A text in UTF-16. Lengths and positions count 16-bit code units, and texts compare by them. A
/// text may be ill-formed: its conversion to UTF-8 reports an unpaired surrogate.
using ustring = std::u16string;

} // namespace fl
