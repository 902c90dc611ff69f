#include "fl/i18n/utf16.hpp"
#include "foundation/json/detail/parser.hpp"
#include "foundation/json/detail/plain_bytes.hpp"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace foundation::json::detail {

namespace {

constexpr std::ptrdiff_t hex_digits = 4;
constexpr std::ptrdiff_t unicode_escape_length = 2 + hex_digits; // \uXXXX

// The value of each byte as a hexadecimal digit, and -1 if it is none.
constexpr auto hex_digit_values = [] {
    std::array<std::int8_t, 256> values = {};
    values.fill(-1);
    for (std::int8_t value = 0; value < 16; ++value) {
        values[static_cast<unsigned char>("0123456789abcdef"[value])] = value;
        values[static_cast<unsigned char>("0123456789ABCDEF"[value])] = value;
    }
    return values;
}();

// Reads the four hexadecimal digits at `first`. The text must have four more bytes.
parse_result read_utf16_unit(char16_t& unit, Iterator first) {
    int value = 0;
    for (const Iterator last = first + hex_digits; first != last; ++first)
        value = value * 16 | hex_digit_values[static_cast<unsigned char>(*first)];
    if (value < 0) // as it stays after one that is not a digit
        return parse_bad_unicode_escape;
    unit = static_cast<char16_t>(value);
    return parse_ok;
}

// Writes the units in UTF-8. No unit takes more bytes than its escape in the text.
void put_utf8(const char16_t* units, int count, char*& out) {
    const char16_t* next = units;
    const char32_t character = fl::i18n::next_character(next, units + count);
    if (next == units + count && !fl::i18n::is_surrogate(character)) {
        out = utf8::unchecked::append(character, out);
        return;
    }
    const std::string bytes = u16_to_u8(units, count);
    if (bytes.size() > static_cast<std::size_t>(count * unicode_escape_length))
        throw std::length_error("a UTF-16 unit takes more than six bytes in UTF-8");
    out = std::copy(bytes.begin(), bytes.end(), out);
}

// Reads the \u escape whose backslash is at `pos`. After a high surrogate a second escape must
// follow, of any unit.
parse_result read_unicode_escape(char*& out, Iterator& pos, const Iterator& end) {
    char16_t units[2] = {};
    int count = 1;
    if (end - pos < unicode_escape_length)
        return parse_end_of_input;
    if (const parse_result result = read_utf16_unit(units[0], pos + 2); result != parse_ok)
        return result;
    if (fl::i18n::is_high_surrogate(units[0])) {
        const Iterator second = pos + unicode_escape_length;
        if (end - second < unicode_escape_length)
            return parse_end_of_input;
        if (*second != '\\' || *std::next(second) != 'u')
            return parse_bad_unicode_escape;
        if (const parse_result result = read_utf16_unit(units[1], second + 2); result != parse_ok)
            return result;
        count = 2;
    }
    put_utf8(units, count, out);
    pos += count * unicode_escape_length;
    return parse_ok;
}

// Returns the byte that the letter after a backslash stands for, and 0 if it is not an escape
// letter.
constexpr char escaped_byte(char letter) {
    switch (letter) {
    case '"':
    case '/':
    case '\\':
        return letter;
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return 0;
    }
}

// Reads the escape whose backslash is at `pos`, and writes to `out`, which has room for as many
// bytes as the escape has. Both move on success only.
parse_result read_escape(char*& out, Iterator& pos, const Iterator& end) {
    const Iterator letter = std::next(pos);
    if (letter == end)
        return parse_end_of_input;
    if (*letter == 'u')
        return read_unicode_escape(out, pos, end);
    const char byte = escaped_byte(*letter);
    if (byte == 0)
        return parse_bad_escape;
    *out++ = byte;
    pos = std::next(letter);
    return parse_ok;
}

// Appends the plain bytes from `pos` to `stop`, and what the escapes among them stand for, which is
// never longer. The last escape may extend past `stop`. After a failure `pos` is at the backslash.
parse_result read_escaped_content(std::string& text, Iterator& pos, const Iterator& end,
                                  const char* stop) {
    Iterator next = pos;
    const std::size_t size = text.size();
    text.resize(size + static_cast<std::size_t>(stop - std::to_address(next)));
    char* out = text.data() + size;
    parse_result result = parse_ok;
    while (result == parse_ok && std::to_address(next) < stop) {
        if (*next == '\\')
            result = read_escape(out, next, end);
        else
            *out++ = *next++;
    }
    text.resize(static_cast<std::size_t>(out - text.data()));
    pos = next;
    return result;
}

// Moves `pos` from after the opening quote past the closing one. Nearly all strings are plain up to
// the next quote.
parse_result read_string_content(std::string& text, Iterator& pos, const Iterator& end) {
    const char* const first = std::to_address(pos);
    const char* const last = std::to_address(end);
    const char* quote = find_byte('"', first, last);
    const char* const plain_end = find_byte('\\', first, quote);
    text.assign(first, plain_end);
    pos += plain_end - first;
    while (std::to_address(pos) != quote) {
        const parse_result result = read_escaped_content(text, pos, end, quote);
        if (result != parse_ok)
            return result;
        if (std::to_address(pos) > quote) // it was escaped
            quote = find_byte('"', std::to_address(pos), last);
    }
    if (pos == end)
        return parse_end_of_input;
    ++pos;
    return parse_ok;
}

} // namespace

parse_result read_string_element(std::string& text, Iterator& pos, const Iterator& end) {
    if (pos == end)
        return parse_end_of_input;
    if (*pos == '"')
        return parse_string_end;
    if (*pos == '\\') {
        std::array<char, 2 * unicode_escape_length> bytes; // of the longest escape
        char* out = bytes.data();
        const parse_result result = read_escape(out, pos, end);
        text.append(bytes.data(), out);
        return result;
    }
    text += *pos;
    ++pos;
    return parse_ok;
}

parse_result read_string(std::string& out, Iterator& pos, const Iterator& end,
                         bool /*allow_comments*/) {
    if (pos == end)
        return parse_end_of_input;
    if (*pos != '"')
        return parse_no_opening_quote;
    ++pos;
    std::string text;
    const parse_result result = read_string_content(text, pos, end);
    if (result == parse_ok)
        out.swap(text);
    return result;
}

parse_result parse_string(Value& out, Iterator& pos, const Iterator& end, bool allow_comments) {
    std::string text;
    const parse_result result = read_string(text, pos, end, allow_comments);
    if (result == parse_ok) {
        Value value(std::move(text));
        store_value(out, value);
    }
    return result;
}

} // namespace foundation::json::detail
