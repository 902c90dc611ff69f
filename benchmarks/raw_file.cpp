#include "raw_file.hpp"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace benchmarks {

namespace {

class File {
public:
    File(const std::string& path, int flags) : descriptor_(open(path.c_str(), flags, 0666)) {
        check(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { close(descriptor_); }

    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

    static void check(ssize_t result) {
        if (result < 0)
            throw std::system_error(errno, std::generic_category());
    }

private:
    int descriptor_;
};

} // namespace

std::string read_raw(const std::string& path) {
    const File file(path, O_RDONLY);
    struct stat status = {};
    File::check(fstat(file.descriptor(), &status));
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    File::check(read(file.descriptor(), text.data(), text.size()));
    return text;
}

void write_raw(const std::string& path, const std::string& text) {
    const File file(path, O_WRONLY | O_CREAT | O_TRUNC);
    File::check(write(file.descriptor(), text.data(), text.size()));
}

} // namespace benchmarks
