#include "foundation/json/detail/byte_runs.hpp"
#include "foundation/json/detail/parser.hpp"

#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>

namespace foundation::json::detail {

namespace {

constexpr std::ptrdiff_t hex_digits = 4;
constexpr std::ptrdiff_t unicode_escape_length = 2 + hex_digits; // \uXXXX

// Returns the value of a hexadecimal digit, and -1 for any other byte.
int hex_digit_value(char byte) {
    if (is_digit(byte))
        return byte - '0';
    if (byte >= 'a' && byte <= 'f')
        return byte - 'a' + 10;
    if (byte >= 'A' && byte <= 'F')
        return byte - 'A' + 10;
    return -1;
}

// Reads the four hexadecimal digits at `first`. The text must have four more bytes.
parse_result read_utf16_unit(char16_t& unit, Iterator first) {
    int value = 0;
    for (const Iterator last = first + hex_digits; first != last; ++first) {
        const int digit = hex_digit_value(*first);
        if (digit < 0)
            return parse_bad_unicode_escape;
        value = value * 16 + digit;
    }
    unit = static_cast<char16_t>(value);
    return parse_ok;
}

constexpr bool is_high_surrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}

// Reads the \u escape whose backslash is at `pos`. After a high surrogate a second escape must
// follow, of any unit. `pos` moves on success only.
parse_result read_unicode_escape(std::string& text, Iterator& pos, const Iterator& end) {
    char16_t units[2] = {};
    int count = 1;
    if (end - pos < unicode_escape_length)
        return parse_end_of_input;
    if (const parse_result result = read_utf16_unit(units[0], pos + 2); result != parse_ok)
        return result;
    if (is_high_surrogate(units[0])) {
        const Iterator second = pos + unicode_escape_length;
        if (end - second < unicode_escape_length)
            return parse_end_of_input;
        if (*second != '\\' || *std::next(second) != 'u')
            return parse_bad_unicode_escape;
        if (const parse_result result = read_utf16_unit(units[1], second + 2); result != parse_ok)
            return result;
        count = 2;
    }
    text += u16_to_u8(units, count);
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

parse_result read_escape(std::string& text, Iterator& pos, const Iterator& end) {
    const Iterator letter = std::next(pos);
    if (letter == end)
        return parse_end_of_input;
    if (*letter == 'u')
        return read_unicode_escape(text, pos, end);
    const char byte = escaped_byte(*letter);
    if (byte == 0)
        return parse_bad_escape;
    text += byte;
    pos = std::next(letter);
    return parse_ok;
}

// Most of a text is plain bytes, so that a whole run is taken at once.
void read_plain_bytes(std::string& text, Iterator& pos, const Iterator& end) {
    const char* const first = std::to_address(pos);
    const char* const run_end = find_quote_or_backslash(first, first + (end - pos));
    text.append(first, run_end);
    pos += run_end - first;
}

} // namespace

parse_result read_string_element(std::string& text, Iterator& pos, const Iterator& end) {
    if (pos == end)
        return parse_end_of_input;
    if (*pos == '"')
        return parse_string_end;
    if (*pos == '\\')
        return read_escape(text, pos, end);
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
    parse_result result = parse_ok;
    while (result == parse_ok) {
        read_plain_bytes(text, pos, end);
        result = read_string_element(text, pos, end);
    }
    if (result != parse_string_end)
        return result;
    ++pos;
    out.swap(text);
    return parse_ok;
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
