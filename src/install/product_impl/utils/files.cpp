#include "install/product_impl/utils/files.hpp"

#include "fl/filesystem/fstream.hpp"
#include "fl/filesystem/operations.hpp"
#include "install/product_impl/utils/read_to_end.hpp"

#include <array>
#include <ios>

namespace install::product_impl::utils {

std::string readFile(const ustring& path) {
    std::array<char, read_buffer_size> buffer;
    fl::filesystem::basic_ifstream<char> file(path, buffer.data(), buffer.size());
    return read_to_end(file);
}

void writeFile(const ustring& path, const std::string& text) {
    std::array<char, 4096> buffer;
    fl::filesystem::basic_ofstream<char> file(path, std::ios_base::out | std::ios_base::binary,
                                              buffer.data(), buffer.size());
    file << text;
    file.close();
}

void createParentDirectory(const fl::filesystem::path& path) {
    const ustring parent = fl::filesystem::detail::extract_parent_path(path.text());
    if (!fl::filesystem::exists(parent))
        fl::filesystem::create_directories(parent);
}

} // namespace install::product_impl::utils
