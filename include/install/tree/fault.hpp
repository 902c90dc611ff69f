/// \file
/// What may be wrong with a file or an entry of an install tree.

#pragma once

#include "fl/export.hpp"

#include <string>

namespace install::tree {

/// A finding about one file, or about one entry of a shared file.
struct Fault {
    /// What is wrong.
    enum class Kind {
        missing,        ///< a file or an entry is not there
        empty,          ///< a document has no text; a problem only if it was written with some
        different,      ///< a document or an entry differs from what was, or is to be, written
        old,            ///< the installed record has an earlier time
        no_list,        ///< an entry of the contents map is not a list of paths
        outside,        ///< an entry lists a path that leaves the tree
        other_key,      ///< an entry lists a document with the key of another product
        no_time,        ///< an entry of the installed record is not a time
        not_listed,     ///< no entry lists a document
        damaged,        ///< a shared file holds no JSON object
        trailing_bytes, ///< a shared file has bytes after its object, which the next write drops
        not_regular,    ///< something that is not a regular file is in a file's place
        unreadable,     ///< a file or a directory could not be read
        interrupted,    ///< an interrupted change has to be rolled back or dropped
        fewer_readers,  ///< fewer users may read documents than may read the contents map
        not_restored,   ///< a repair leaves out what it cannot prove
        repeated_key,   ///< a shared file has a key twice: the library uses the first member
        not_utf8,       ///< a shared file is in another encoding
        swapped,        ///< the contents map is in the place of the installed record
        other_writer,   ///< another program wrote a file after a change was interrupted
    };

    Kind kind = Kind::missing; ///< what is wrong

    /// The path of the file, in the encoding of the file system. It is not printable as it stands.
    std::string path;

    /// What was found: sentences in UTF-8, printable, possibly in several lines.
    std::string text;

    /// The key in the contents map of the product whose entry or document it is about, in UTF-8;
    /// empty where that is not known.
    std::string product = {};
};

/// Returns the name of a kind, such as "missing" or "not_listed". The text is a string literal.
[[nodiscard]] KX_EXPORT const char* name_of(Fault::Kind kind) noexcept;

} // namespace install::tree
