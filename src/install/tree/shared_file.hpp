// A shared JSON file as health and repair find it: in whatever state it is.

#pragma once

#include "foundation/json/value.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/file_system.hpp"

#include <cstddef>
#include <optional>
#include <string>

namespace install::tree {

struct SharedFile {
    std::string name;                   // in appdata
    std::string text;                   // all bytes; none if it could not be read
    foundation::json::ValueMap members; // of the object, if it holds one
    std::optional<Fault> fault;         // why it does not
    std::size_t trailing_bytes = 0;     // after the object, unless all are whitespace
};

// Reads the file `name` in `appdata`, once, because another process may replace it. Throws
// std::bad_alloc only.
[[nodiscard]] SharedFile read_shared_file(const Directory& appdata, const std::string& name);

} // namespace install::tree
