// Strings in columns.

#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace kxtree {

/// Prints rows of the same length with aligned columns: the column with the index `numbers` to the
/// right, the others to the left. The strings are printable UTF-8.
void print_table(std::ostream& stream, const std::vector<std::vector<std::string>>& rows,
                 std::size_t numbers);

} // namespace kxtree
