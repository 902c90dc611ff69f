#include "install/product_impl/utils/files.hpp"

#include "fl/filesystem/fstream.hpp"
#include "fl/filesystem/operations.hpp"
#include "install/product_impl/utils/read_to_end.hpp"

#include <array>
#include <ios>

namespace install::product_impl::utils {

namespace {

constexpr auto end_of_file = std::char_traits<char>::eof();

// How many bytes the file has, as far as it can tell; it is at its beginning afterwards.
std::size_t size_from_beginning(std::filebuf& file) {
    constexpr std::streamoff implausible = std::streamoff(1)
                                           << 40U; // no size but a mark of devices
    const std::streamoff size = file.pubseekoff(0, std::ios_base::end, std::ios_base::in);
    file.pubseekoff(0, std::ios_base::beg, std::ios_base::in);
    return size > 0 && size < implausible ? static_cast<std::size_t>(size) : 0;
}

} // namespace

std::string read_to_end(fl::filesystem::basic_ifstream<char>& file) {
    std::string text;
    // Only a file that fills the buffer is worth the calls to ask for its size.
    if (file.peek() != end_of_file && file.rdbuf()->in_avail() + 1 >= read_buffer_size)
        text.reserve(size_from_beginning(*file.rdbuf()));
    // A buffer at a time. Filling it is left to peek(), because the buffer itself raises on an
    // error of reading (a directory, a broken disk), where the stream only takes note of it.
    while (file.peek() != end_of_file) {
        const auto available = static_cast<std::size_t>(file.rdbuf()->in_avail());
        const std::size_t size = text.size();
        text.resize(size + available);
        file.read(text.data() + size, static_cast<std::streamsize>(available));
    }
    return text;
}

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
