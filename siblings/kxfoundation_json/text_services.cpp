#include "foundation/json/detail/text_services.hpp"

#include <fast_float/fast_float.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstring>

namespace foundation::json::detail {

std::string get_utf8_string(Iterator first, Iterator last) {
    return {first, last};
}

double string_to_double(const char* token) noexcept {
    double number = 0;
    // The result code may be ignored: out of range, the number is infinity or the nearest small
    // one.
    fast_float::from_chars(token, token + std::strlen(token), number);
    return number;
}

std::string u16_to_u8(const char16_t* units, int count) {
    std::string text;
    int position = 0;
    while (position < count) {
        UChar32 character = 0;
        U16_NEXT_OR_FFFD(units, position, count, character);
        char bytes[U8_MAX_LENGTH] = {};
        std::size_t length = 0;
        U8_APPEND_UNSAFE(bytes, length, character);
        text.append(bytes, length);
    }
    return text;
}

} // namespace foundation::json::detail
