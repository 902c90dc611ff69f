/// \file
/// The names of all files of an install tree, in one place for libraries and programs.

#pragma once

#include "install/ustring.hpp"

#include <string>
#include <string_view>

/// The names of the files of an install tree. All of them are ASCII.
namespace install::tree_names {

/// \name Below the install root
/// @{
inline constexpr const char* appdata = "appdata"; ///< a directory
/// @}

/// \name Below appdata: what a product leaves there
/// @{
inline constexpr const char* documents = "products"; ///< a directory
inline constexpr std::string_view document_suffix = ".xml";
inline constexpr const char* contents_map = "prodcontents.json";
inline constexpr const char* installed_record = "installedProductData.json";
/// @}

/// \name Below appdata: what a change adds
/// @{
inline constexpr const char* receipts = "receipts.json";
inline constexpr const char* lock = ".lock";       ///< locked during every change
inline constexpr const char* staging = ".staging"; ///< a change that is prepared, or complete
inline constexpr std::string_view set_aside =
    ".staging.";                                       ///< with a number: what could not be removed
inline constexpr const char* undo = ".undo";           ///< a change that is under way
inline constexpr std::string_view old_suffix = ".old"; ///< the last good version of a file
inline constexpr std::string_view damaged_suffix = ".damaged"; ///< a file as it was before a repair
/// @}

/// Ends every key of the contents map, whatever platforms a product is written for, so that a later
/// write for other platforms finds the entry.
inline constexpr std::string_view entry_tag = "hostpf";

/// Returns a name in UTF-16.
inline ustring utf16(std::string_view name) {
    return {name.begin(), name.end()};
}

/// Returns `first/second`.
inline std::string join(std::string_view first, std::string_view second) {
    return std::string(first).append("/").append(second);
}

} // namespace install::tree_names
