#include "report.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/utils/paths.hpp"

#include <algorithm>
#include <filesystem>
#include <ostream>

namespace write_tree {

namespace {

namespace fs = std::filesystem;
namespace utils = install::product_impl::utils;

std::string json_path(const std::string& root,
                      fl::filesystem::path (*path_below)(const install::ustring&)) {
    return fl::i18n::ustring_to_utf8(path_below(fl::i18n::utf8_to_ustring(root)).text());
}

std::vector<std::string> names_in(const fs::path& directory) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TreeCount count_tree(const std::string& root, const std::set<std::string>& relative_paths) {
    TreeCount count;
    const auto count_file = [&count](const std::string& path) {
        std::error_code error;
        const std::uintmax_t size = fs::file_size(path, error);
        if (error)
            count.missing.push_back(path);
        else
            count.bytes += size;
        return !error;
    };
    for (const std::string& path : relative_paths)
        if (count_file(root + path))
            ++count.xml_files;
    count_file(json_path(root, utils::getContentsMapPath));
    count_file(json_path(root, utils::getInstalledProdDataPath));
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
