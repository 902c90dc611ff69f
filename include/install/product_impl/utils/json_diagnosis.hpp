/// \file
/// What is wrong with a JSON file of an install tree, for whoever has to repair it.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/detail/parse_value.hpp"
#include "foundation/json/value.hpp"
#include "install/ustring.hpp"

#include <cstddef>
#include <string>

namespace install::product_impl::utils {

/// The state of a file, or of a string in memory, that should hold a JSON object.
struct JsonFileDiagnosis {
    /// What was found.
    enum class State {
        missing,    ///< nothing is there
        unreadable, ///< something is there that is not a regular file, or cannot be read to its end
        damaged,    ///< malformed text: see code, offset, line and column
        no_object,  ///< a value of another kind
        object,     ///< an object: the file is healthy
    };

    /// What was found. The other members depend on it.
    State state = State::missing;

    /// The state in one English sentence, in ASCII, whatever the locale.
    std::string text;

    /// The fault of a damaged text; 0 in all other states.
    foundation::json::detail::parse_result code = foundation::json::detail::parse_ok;

    /// Where reading stopped, in bytes from the beginning, from 0 on: at the fault of a damaged
    /// text, and otherwise after the first value. 0 if no text could be read.
    std::size_t offset = 0;

    std::size_t line = 1;   ///< the line of offset, from 1 on
    std::size_t column = 1; ///< the byte within that line, from 1 on

    /// The number of trailing bytes after the first value. The next write to the tree drops them.
    std::size_t ignored_bytes = 0;

    /// The number of members that have the key of an earlier member. Their values are ignored, and
    /// the next write to the tree drops them.
    std::size_t repeated_keys = 0;
};

/// Diagnoses the JSON text `text`; the state is damaged, no_object or object. Throws
/// std::bad_alloc.
[[nodiscard]] KX_EXPORT JsonFileDiagnosis diagnoseJson(const std::string& text);

/// The same, and stores the members of the object in `members`. Of a damaged object, those are the
/// members before the damage, up to the last comma. If there is no object, there are none.
[[nodiscard]] KX_EXPORT JsonFileDiagnosis diagnoseJson(const std::string& text,
                                                       foundation::json::ValueMap& members);

/// Diagnoses the file at `path`, which getJsonObjFromFile only accepts or rejects. Changes nothing
/// on disk. Never blocks on a FIFO or a device, even one that replaces the file meanwhile, because
/// it opens files without waiting and reads only regular ones. Throws std::bad_alloc,
/// std::length_error, and what readFile throws for a path that no file can have.
[[nodiscard]] KX_EXPORT JsonFileDiagnosis diagnoseJsonFile(const ustring& path);

/// The same, and stores the bytes that were read in `text`, so that a caller who shows the fault
/// has the text that was diagnosed. `text` is empty if no regular file could be opened.
[[nodiscard]] KX_EXPORT JsonFileDiagnosis diagnoseJsonFile(const ustring& path, std::string& text);

} // namespace install::product_impl::utils
