// Output that goes to a file with a name.

#pragma once

#include <string>
#include <string_view>

namespace kxtree {

/// Writes `text` to the file at `path`, in the place of one that may be there: it is written beside
/// it first, so that nobody ever sees a part of it, and what was there stays if this fails. What is
/// no regular file, such as a device, is written to. Throws Failure.
void write_file(const std::string& path, std::string_view text);

} // namespace kxtree
