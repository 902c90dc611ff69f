// A file of any type that is open for reading. The standard streams cannot open one without
// waiting.

#pragma once

#include <string>
#include <system_error>

namespace install::product_impl::utils {

class InputFile {
public:
    // Opens what is at `path`. Waits for nothing, not even at a FIFO that nobody writes to.
    explicit InputFile(const std::string& path) noexcept;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    // Returns why the file could not be opened; no error if it is open.
    [[nodiscard]] std::error_code failure() const noexcept { return failure_; }
    // Returns whether it is an open regular file: of all others nothing should be read.
    [[nodiscard]] bool is_regular() const noexcept;

    // Appends to `text` all bytes from where the file stands; where reading fails, those before the
    // failure. Returns whether it reached the end. Throws std::bad_alloc and std::length_error.
    [[nodiscard]] bool read_to_end(std::string& text) const;

private:
    int descriptor_;
    std::error_code failure_;
};

} // namespace install::product_impl::utils
