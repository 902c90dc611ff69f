// Output to a named file.

#pragma once

#include <string>
#include <string_view>

namespace kxtree {

/// Writes `text` to the file at `path`, or replaces that file. Readers see the earlier file or the
/// whole new one, and a failure leaves the earlier one unchanged, because the text is written to a
/// file beside it first. Something that is not a regular file, such as a device, is written to
/// directly. Throws Failure.
void write_file(const std::string& path, std::string_view text);

} // namespace kxtree
