#include "table.hpp"

#include <algorithm>

namespace kxtree {

namespace {

// A terminal shows most characters in one column each; bytes that continue one are in none.
std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    }));
}

std::vector<std::size_t> widths(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> result(rows.empty() ? 0 : rows.front().size());
    for (const auto& row : rows)
        for (std::size_t column = 0; column < result.size(); ++column)
            result[column] = std::max(result[column], width(row[column]));
    return result;
}

} // namespace

void print_table(std::ostream& stream, const std::vector<std::vector<std::string>>& rows,
                 std::size_t numbers) {
    const std::vector<std::size_t> all = widths(rows);
    for (const auto& row : rows) {
        for (std::size_t column = 0; column + 1 < row.size(); ++column) {
            const std::string padding(all[column] - width(row[column]), ' ');
            stream << (column == numbers ? padding + row[column] : row[column] + padding) << "  ";
        }
        stream << row.back() << '\n';
    }
}

} // namespace kxtree
