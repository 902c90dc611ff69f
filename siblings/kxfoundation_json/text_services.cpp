#include "foundation/json/detail/text_services.hpp"

#include "fl/i18n/utf16.hpp"

#include <fast_float/fast_float.h>
#include <utf8.h>

#include <cstring>
#include <iterator>

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
    constexpr char32_t replacement = 0xFFFD;
    std::string text;
    for (const char16_t* const end = units + count; units != end;) {
        const char32_t character = fl::i18n::next_character(units, end);
        utf8::unchecked::append(fl::i18n::is_surrogate(character) ? replacement : character,
                                std::back_inserter(text));
    }
    return text;
}

} // namespace foundation::json::detail
