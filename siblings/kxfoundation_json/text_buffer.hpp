// A text that grows at its end.

#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace foundation::json {

// Bytes are written into room that is made for many at once: to look for room at each of them takes
// longer than to write them.
class TextBuffer {
public:
    // Returns where the next bytes go, with room for `size` of them. write_to must follow. Throws
    // std::bad_alloc and std::length_error.
    char* make_room(std::size_t size) {
        if (text_.size() - size_ < size)
            text_.resize(size_ + std::max(size, size_));
        return text_.data() + size_;
    }

    // The text ends at `end`, in the room that was made last.
    void write_to(const char* end) noexcept {
        size_ = static_cast<std::size_t>(end - text_.data());
    }

    void append(char byte) {
        char* const out = make_room(1);
        *out = byte;
        write_to(out + 1);
    }

    void append(std::string_view bytes) {
        write_to(std::copy(bytes.begin(), bytes.end(), make_room(bytes.size())));
    }

    // Returns the text, and leaves none.
    std::string take() {
        text_.resize(std::exchange(size_, 0));
        return std::move(text_);
    }

private:
    std::string text_; // with the room
    std::size_t size_ = 0;
};

} // namespace foundation::json
