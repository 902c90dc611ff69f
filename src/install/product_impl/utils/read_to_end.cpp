#include "install/product_impl/utils/read_to_end.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace install::product_impl::utils {

namespace {

constexpr auto end_of_file = std::char_traits<char>::eof();

// Returns the number of bytes left in a file whose buffer is empty, and 0 where it is not known. It
// only says how much memory to reserve: some devices report any number.
std::size_t remaining_size(fl::filesystem::basic_ifstream<char>& file) {
    constexpr auto implausible = std::min(std::uint64_t(1) << 40U, std::uint64_t(SIZE_MAX / 4));
    const std::streamsize size = file.rdbuf()->in_avail();
    return size > 0 && std::uint64_t(size) < implausible ? static_cast<std::size_t>(size) : 0;
}

} // namespace

std::string read_to_end(fl::filesystem::basic_ifstream<char>& file) {
    std::string text;
    // A buffer at a time. peek() fills it, because the buffer itself throws where reading fails (a
    // directory, a faulty disk) while the stream only sets a flag.
    while (file.peek() != end_of_file) {
        const auto available = static_cast<std::size_t>(file.rdbuf()->in_avail());
        const std::size_t size = text.size();
        text.resize(size + available);
        file.read(text.data() + size, static_cast<std::streamsize>(available));
        // Only a file that fills the buffer is worth the system call.
        if (size == 0 && text.size() + 1 >= std::size_t(read_buffer_size))
            text.reserve(text.size() + remaining_size(file));
    }
    return text;
}

} // namespace install::product_impl::utils
