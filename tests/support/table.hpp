// Tables of test rows in tests/data: fields with tabs between, %XX for a byte, comments after #.

#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

inline std::string unescaped(std::string field) {
    for (auto mark = field.find('%'); mark != field.npos; mark = field.find('%', mark + 1))
        field.replace(mark, 3, 1,
                      static_cast<char>(std::stoi(field.substr(mark + 1, 2), nullptr, 16)));
    return field;
}

inline std::vector<std::vector<std::string>> read_table(const std::string& name) {
    std::ifstream file(std::string(KX_TEST_DATA) + "/" + name);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line + '\t');
        auto& row = rows.emplace_back();
        for (std::string field; std::getline(fields, field, '\t');)
            row.push_back(unescaped(field));
    }
    if (rows.empty())
        throw std::runtime_error("no rows in " + name);
    return rows;
}

} // namespace test
