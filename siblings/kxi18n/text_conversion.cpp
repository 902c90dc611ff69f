#include "fl/i18n/text_conversion.hpp"

#include "fl/i18n/utf16.hpp"

#include <utf8.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

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

// Returns the character that the next three bytes encode; zero if they encode none. Chinese texts
// consist of such characters, and take three times as long with utf8cpp alone.
char16_t character_of_three_bytes(const char* in, const char* end) {
    const auto is_trail = [](char byte) { return (byte & 0xC0) == 0x80; };
    if (end - in < 3 || (*in & 0xF0) != 0xE0 || !is_trail(in[1]) || !is_trail(in[2]))
        return 0;
    const int character = (*in & 0xF) << 12 | (in[1] & 0x3F) << 6 | (in[2] & 0x3F);
    const bool encodes_one = character >= 0x800 && !is_surrogate(static_cast<char32_t>(character));
    return static_cast<char16_t>(encodes_one ? character : 0);
}

template <class From, class To>
void copy_each_ascii(const From*& in, const From* end, To*& out) {
    while (in != end && is_ascii(*in))
        *out++ = static_cast<To>(*in++);
}

// Copies the ASCII characters that a text begins with, and moves both positions past them. Most
// texts of an installer are nothing else, so that whole blocks are looked at and copied at once;
// but only after some single ones, as there are also texts with many short runs.
template <class From, class To>
void copy_ascii(const From*& in, const From* end, To*& out) {
    constexpr std::ptrdiff_t few = 8;
    constexpr std::ptrdiff_t block = 32;
    const From* const near = end - in > few ? in + few : end;
    copy_each_ascii(in, near, out);
    if (in != near)
        return;
    while (end - in >= block) {
        std::array<From, block> units; // apart from the text, which the output could overlap
        std::array<To, block> copied;
        std::memcpy(units.data(), in, sizeof units);
        From united = 0;
        for (const From unit : units)
            united = static_cast<From>(united | unit);
        if (!is_ascii(united))
            break;
        for (std::size_t index = 0; index < units.size(); ++index)
            copied[index] = static_cast<To>(units[index]);
        std::memcpy(out, copied.data(), sizeof copied);
        in += block;
        out += block;
    }
    copy_each_ascii(in, end, out);
}

// Returns the bytes that a well-formed text takes in UTF-8, and at least those of what comes before
// a fault.
std::size_t size_in_utf8(const ustring& text) {
    constexpr std::size_t block = 1U << 14U; // whose sum fits into 16 bits, which adds faster
    std::size_t size = text.size();
    for (std::size_t begin = 0; begin < text.size(); begin += block) {
        const std::u16string_view units = std::u16string_view(text).substr(begin, block);
        std::uint16_t more = 0; // each half of a pair stands for two of its four bytes
        for (const char16_t unit : units) {
            more = static_cast<std::uint16_t>(more + (unit >= 0x80));
            more = static_cast<std::uint16_t>(more + (unit >= 0x800 && !is_surrogate(unit)));
        }
        size += more;
    }
    return size;
}

} // namespace

std::string ustring_to_utf8(const ustring& text) {
    std::string result(size_in_utf8(text), '\0');
    const char16_t* in = text.data();
    const char16_t* const end = in + text.size();
    char* out = result.data();
    while (in != end) {
        copy_ascii(in, end, out);
        while (in != end && !is_ascii(*in)) {
            const char32_t character = next_character(in, end);
            if (is_surrogate(character))
                throw conversion_error("UTF-16", static_cast<std::size_t>(in - 1 - text.data()));
            out = utf8::unchecked::append(character, out);
        }
    }
    return result;
}

ustring utf8_to_ustring(const std::string& text) {
    ustring result(text.size(), u'\0');
    const char* in = text.data();
    const char* const end = in + text.size();
    char16_t* out = result.data();
    try {
        while (in != end) {
            copy_ascii(in, end, out);
            while (in != end && !is_ascii(*in)) {
                if (const char16_t unit = character_of_three_bytes(in, end)) {
                    *out++ = unit;
                    in += 3;
                    continue;
                }
                const char32_t character = utf8::next(in, end);
                if (character >= 0x10000) {
                    *out++ = static_cast<char16_t>(0xD7C0U + (character >> 10U));
                    *out++ = static_cast<char16_t>(0xDC00U | (character & 0x3FFU));
                } else {
                    *out++ = static_cast<char16_t>(character);
                }
            }
        }
    } catch (const utf8::exception&) {
        throw conversion_error("UTF-8", static_cast<std::size_t>(in - text.data()));
    }
    result.resize(static_cast<std::size_t>(out - result.data()));
    return result;
}

} // namespace fl::i18n
