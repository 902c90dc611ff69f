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

inline std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(unescaped(part));
    return parts;
}

inline std::vector<std::vector<std::string>> read_table(const std::string& name) {
    std::ifstream file(std::string(KX_TEST_DATA) + "/" + name);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && line[0] != '#')
            rows.push_back(split(line + '\t', '\t'));
    return rows.empty() ? throw std::runtime_error("no rows in " + name) : rows;
}

} // namespace test
