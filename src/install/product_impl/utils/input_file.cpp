#include "install/product_impl/utils/input_file.hpp"

#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace install::product_impl::utils {

InputFile::InputFile(const std::string& path) noexcept
    : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
    if (descriptor_ == -1)
        failure_ = {errno, std::generic_category()};
}

InputFile::~InputFile() {
    if (descriptor_ != -1)
        close(descriptor_);
}

bool InputFile::is_regular() const noexcept {
    struct stat status = {};
    return fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
}

bool InputFile::read_to_end(std::string& text) const {
    constexpr std::size_t most_at_once = 65536;
    for (;;) {
        const std::size_t size = text.size();
        text.resize(size + most_at_once);
        const ssize_t count = read(descriptor_, text.data() + size, most_at_once);
        text.resize(size + (count > 0 ? static_cast<std::size_t>(count) : 0));
        if (count == 0)
            return true;
        if (count == -1 && errno != EINTR)
            return false;
    }
}

} // namespace install::product_impl::utils
