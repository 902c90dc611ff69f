#include "report.hpp"

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <vector>

namespace write_tree {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> names_in(const fs::path& directory) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TreeCount count_tree(const std::string& root) {
    TreeCount count;
    const fs::path appdata = fs::path(root) / "appdata";
    if (!fs::is_directory(appdata))
        return count;
    for (const auto& entry : fs::recursive_directory_iterator(appdata)) {
        if (!entry.is_regular_file())
            continue;
        count.bytes += entry.file_size();
        if (entry.path().parent_path() != appdata)
            ++count.xml_files;
    }
    return count;
}

void print_top_of_tree(std::ostream& stream, const std::string& root) {
    constexpr std::size_t most = 5;
    const fs::path appdata = fs::path(root) / "appdata";
    if (!fs::is_directory(appdata))
        return;
    stream << root << "\n└── appdata\n";
    for (const std::string& name : names_in(appdata)) {
        if (fs::is_directory(appdata / name))
            continue;
        stream << "    ├── " << name << "  (" << fs::file_size(appdata / name) << " bytes)\n";
    }
    if (!fs::is_directory(appdata / "products"))
        return;
    stream << "    └── products\n";
    const std::vector<std::string> products = names_in(appdata / "products");
    for (std::size_t index = 0; index < std::min(most, products.size()); ++index)
        stream << "        ├── " << products[index] << '\n';
    if (products.size() > most)
        stream << "        └── ... and " << products.size() - most << " more\n";
}

} // namespace write_tree
