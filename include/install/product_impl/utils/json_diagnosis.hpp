/// \file
/// What is wrong with a JSON file of an install tree, for those who have to mend it.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/detail/parse_value.hpp"
#include "install/ustring.hpp"

#include <cstddef>
#include <string>

namespace install::product_impl::utils {

/// What there is to say of a file that ought to hold a JSON object.
struct JsonFileDiagnosis {
    /// How the file was found.
    enum class State {
        missing,    ///< nothing is there
        unreadable, ///< something is there, but cannot be looked at or read to its end
        damaged,    ///< no value could be read: see code, offset, line and column
        no_object,  ///< a value of another kind
        object,     ///< all is well
    };

    /// What was found; all that follows depends on it.
    State state = State::missing;

    /// The state in one English sentence, in UTF-8.
    std::string text;

    /// The fault of a damaged file; 0 in all other states.
    foundation::json::detail::parse_result code = foundation::json::detail::parse_ok;

    /// Where reading stopped: the fault of a damaged file, and otherwise the end of the first
    /// value. In bytes from the beginning, counted from 0.
    std::size_t offset = 0;

    std::size_t line = 1;   ///< the line that offset lies in, counted from 1
    std::size_t column = 1; ///< the byte of that line, counted from 1

    /// How many bytes stand behind the first value. The next write to the tree drops them.
    std::size_t ignored_bytes = 0;
};

/// Looks at the file at `path` as getJsonObjFromFile does, and says what that function does not
/// tell. Changes nothing on disk. Raises as readFile does.
[[nodiscard]] KX_EXPORT JsonFileDiagnosis diagnoseJsonFile(const ustring& path);

} // namespace install::product_impl::utils
