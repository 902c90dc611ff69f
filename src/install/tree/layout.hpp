// Where the files of an install tree are: those of the product object, and those that are added
// here. All names are in the encoding of the file system.

#pragma once

#include "install/ustring.hpp"

#include <string>

namespace install::tree {

// The directory of the tree's files, below the install root, and names in it.
struct Layout {
    // Throws what readFile throws for a path without a native name.
    explicit Layout(const ustring& installRoot);

    // Returns the path of an XML document as a name in appdata. Throws what getXmlPath throws, and
    // as the constructor does.
    [[nodiscard]] std::string document(const ustring& name, const ustring& version,
                                       const std::string& tag) const;

    ustring root;
    std::string appdata;          // the path of the directory
    std::string contents_map;     // a name in it
    std::string installed_record; // likewise
};

inline constexpr const char* documents_name = "products"; // the directory of the documents
inline constexpr const char* lock_name = ".lock";         // held during every change
inline constexpr const char* staging_name = ".staging";   // a change that is being prepared
inline constexpr const char* commit_name = ".commit";     // a change that is decided
inline constexpr const char* old_suffix = ".old";         // the last good version of a shared file
inline constexpr const char* damaged_suffix = ".damaged"; // a shared file before its repair
inline constexpr const char* entry_key_tag = "hostpf";    // ends every key of the contents map

} // namespace install::tree
