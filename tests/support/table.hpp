// Tables of test rows in tests/data: fields with tabs between, %XX for a byte, comments after #.

#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

inline std::string unescaped(const std::string& field) {
    std::string bytes;
    for (std::size_t index = 0; index < field.size(); ++index)
        if (field[index] == '%') {
            bytes += static_cast<char>(std::stoi(field.substr(index + 1, 2), nullptr, 16));
            index += 2;
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

} // namespace test
