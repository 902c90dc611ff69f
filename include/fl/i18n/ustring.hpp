/// \file
/// The string type of the installer.

#pragma once

#include <string>

/// Strings and files, on which the installer is built.
namespace fl {

/// A string in UTF-16. Lengths and positions are in 16-bit code units, and strings compare by them.
/// A string may be ill-formed: its conversion to UTF-8 reports an unpaired surrogate.
using ustring = std::u16string;

} // namespace fl
