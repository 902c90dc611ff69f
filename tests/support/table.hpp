// Tables of test rows. Those in tests/data have fields with tabs between, %XX for a byte, and
// comments behind #; those in the documentation are Markdown.

#pragma once

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

// A byte is two hexadecimal digits behind `mark`, and takes `width` characters in all.
inline std::string unescaped(const std::string& field, char mark = '%', std::size_t width = 3) {
    std::string bytes;
    for (std::size_t index = 0; index < field.size(); ++index)
        if (field[index] == mark) {
            bytes += static_cast<char>(std::stoi(field.substr(index + 1, 2), nullptr, 16));
            index += width - 1;
        } else {
            bytes += field[index];
        }
    return bytes;
}

inline std::vector<std::vector<std::string>> read_table(const std::string& name) {
    std::ifstream file(std::string(KX_TEST_DATA) + "/" + name);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        auto& row = rows.emplace_back();
        for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
            end = line.find('\t', begin);
            row.push_back(unescaped(line.substr(begin, end - begin)));
        }
    }
    if (rows.empty())
        throw std::runtime_error("no rows in " + name);
    return rows;
}

// What a cell of a Markdown table means: prose, or the bytes in back quotes, with <XX> for a byte
// and perhaps "N times" in front.
inline std::string cell_text(std::string cell) {
    cell.erase(cell.find_last_not_of(' ') + 1);
    const auto quote = cell.find('`');
    const bool repeats = cell.substr(0, quote).ends_with(" times ");
    std::string text;
    if (quote == 0 || repeats) {
        const std::string once = unescaped(cell.substr(quote + 1, cell.size() - quote - 2), '<', 4);
        for (int count = repeats ? std::stoi(cell) : 1; count > 0; --count)
            text += once;
    } else {
        std::erase(cell, '`');
        text = cell;
    }
    return text;
}

// The rows of all tables in the Markdown file at `path`: their cells by the heads of the columns.
inline std::vector<std::map<std::string, std::string>> read_markdown(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::map<std::string, std::string>> rows;
    std::vector<std::string> heads;
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("| ")) {
            if (!line.starts_with("|-"))
                heads.clear();
            continue;
        }
        std::vector<std::string> cells;
        std::istringstream rest(line.substr(1));
        for (std::string cell; std::getline(rest >> std::ws, cell, '|');)
            cells.push_back(cell_text(cell));
        if (heads.empty()) {
            heads = cells;
            continue;
        }
        if (cells.size() != heads.size())
            throw std::runtime_error("not as many cells as heads: " + line);
        auto& row = rows.emplace_back();
        for (std::size_t column = 0; column < heads.size(); ++column)
            row[heads[column]] = cells[column];
    }
    return rows;
}

} // namespace test
