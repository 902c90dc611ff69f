// The names of all files of an install tree, in one place for both libraries.

#pragma once

#include "install/ustring.hpp"

#include <string>
#include <string_view>

namespace install::tree_names {

// Below the install root.
inline constexpr std::string_view appdata = "appdata";

// Below appdata: what a product leaves there.
inline constexpr std::string_view documents = "products"; // a directory
inline constexpr std::string_view document_suffix = ".xml";
inline constexpr std::string_view contents_map = "prodcontents.json";
inline constexpr std::string_view installed_record = "installedProductData.json";

// Below appdata: what a change adds.
inline constexpr std::string_view receipts = "receipts.json";
inline constexpr std::string_view lock = ".lock"; // held during every change
inline constexpr std::string_view staging =
    ".staging";                                   // a change that is prepared, or to be dropped
inline constexpr std::string_view undo = ".undo"; // a change that is under way
inline constexpr std::string_view old_suffix = ".old"; // the last good version of a shared file
inline constexpr std::string_view damaged_suffix = ".damaged"; // a shared file before its repair

// Ends every key of the contents map, whatever platforms a product is written for, so that a later
// write for other platforms finds the entry.
inline constexpr std::string_view entry_tag = "hostpf";

// Returns a name, which is ASCII, in UTF-16.
inline ustring utf16(std::string_view name) {
    return {name.begin(), name.end()};
}

// Returns `first/second`.
inline std::string join(std::string_view first, std::string_view second) {
    return std::string(first).append("/").append(second);
}

} // namespace install::tree_names
