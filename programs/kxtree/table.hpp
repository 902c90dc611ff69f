// Texts in columns.

#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace kxtree {

/// Prints rows of the same length, with their columns aligned: `numbers`, the index of one, to the
/// right, the others to the left. The texts are printable UTF-8.
void print_table(std::ostream& stream, const std::vector<std::vector<std::string>>& rows,
                 std::size_t numbers);

} // namespace kxtree
