#include "fl/i18n/text_conversion.hpp"

#include "fl/i18n/utf16.hpp"

#include <utf8.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace fl::i18n {

conversion_error::conversion_error(const std::string& encoding, std::size_t offset)
    : std::runtime_error("ill-formed " + encoding + " at offset " + std::to_string(offset)),
      offset_(offset) {}

conversion_error::~conversion_error() = default;

namespace {

bool is_ascii(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}
bool is_ascii(char16_t unit) {
    return unit < 0x80;
}

// Returns the end of the ASCII characters that a text begins with. Most texts of an installer are
// nothing else, so that whole blocks are looked at at once.
template <class Unit>
const Unit* end_of_ascii(const Unit* first, const Unit* last) {
    constexpr std::ptrdiff_t block = 32;
    for (; last - first >= block; first += block) {
        Unit united = 0;
        for (std::ptrdiff_t index = 0; index < block; ++index)
            united = static_cast<Unit>(united | first[index]);
        if (!is_ascii(united))
            break;
    }
    return std::find_if_not(first, last, [](Unit unit) { return is_ascii(unit); });
}

// Appends the ASCII characters that a text begins with, and moves `in` past them.
template <class Unit, class Text>
void append_ascii(Text& text, const Unit*& in, const Unit* end) {
    const Unit* const ascii_end = end_of_ascii(in, end);
    const std::size_t size = text.size();
    text.resize(size + static_cast<std::size_t>(ascii_end - in));
    std::copy(in, ascii_end, text.data() + size);
    in = ascii_end;
}

void append_utf16(ustring& text, char32_t character) {
    if (character >= 0x10000) {
        text += static_cast<char16_t>(0xD7C0U + (character >> 10U));
        text += static_cast<char16_t>(0xDC00U | (character & 0x3FFU));
    } else {
        text += static_cast<char16_t>(character);
    }
}

} // namespace

std::string ustring_to_utf8(const ustring& text) {
    std::string result;
    result.reserve(text.size());
    const char16_t* in = text.data();
    const char16_t* const end = in + text.size();
    while (in != end) {
        append_ascii(result, in, end);
        while (in != end && !is_ascii(*in)) {
            const char32_t character = next_character(in, end);
            if (is_surrogate(character))
                throw conversion_error("UTF-16", static_cast<std::size_t>(in - 1 - text.data()));
            utf8::unchecked::append(character, std::back_inserter(result));
        }
    }
    return result;
}

ustring utf8_to_ustring(const std::string& text) {
    ustring result;
    result.reserve(text.size());
    const char* in = text.data();
    const char* const end = in + text.size();
    try {
        while (in != end) {
            append_ascii(result, in, end);
            while (in != end && !is_ascii(*in))
                append_utf16(result, utf8::next(in, end));
        }
    } catch (const utf8::exception&) {
        throw conversion_error("UTF-8", static_cast<std::size_t>(in - text.data()));
    }
    return result;
}

} // namespace fl::i18n
