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

// The end of a text that grows, with room for more: writing to it costs less than appending.
class Output {
public:
    // Makes room for `size` bytes after `text`, which must not be used meanwhile.
    Output(std::string& text, std::size_t size) : text_(text) {
        text.resize(text.size() + size);
        end_ = text.data() + text.size() - size;
    }

    // Write into the room that there is.
    void put(char byte) noexcept { *end_++ = byte; }
    void put(char32_t character) noexcept { end_ = utf8::unchecked::append(character, end_); }
    // Uses `room` bytes of the room that there is, and makes more where they are too few. Rare, and
    // out of line, as the compiler otherwise slows down what is not.
    [[gnu::noinline]] void append(const std::string& bytes, std::size_t room) {
        if (bytes.size() > room) {
            const auto size = static_cast<std::size_t>(end_ - text_.data());
            text_.resize(text_.size() + bytes.size() - room);
            end_ = text_.data() + size;
        }
        end_ = std::copy(bytes.begin(), bytes.end(), end_);
    }
    // Drops the room that is left.
    void finish() { text_.resize(static_cast<std::size_t>(end_ - text_.data())); }

private:
    std::string& text_;
    char* end_;
};

// Writes the units in UTF-8, where there is room for as many bytes as their escapes have. That is
// enough for a character, but unpaired units become whatever text the JSON services make of them.
void put_utf8(const char16_t* units, int count, Output& out) {
    const char16_t* next = units;
    const char32_t character = fl::i18n::next_character(next, units + count);
    if (next == units + count && !fl::i18n::is_surrogate(character))
        out.put(character);
    else
        out.append(u16_to_u8(units, count),
                   static_cast<std::size_t>(count * unicode_escape_length));
}

// Reads the \u escape whose backslash is at `pos`. After a high surrogate a second escape must
// follow, of any unit.
parse_result read_unicode_escape(Output& out, Iterator& pos, const Iterator& end) {
    char16_t units[2] = {};
    int count = 1;
    if (end - pos < unicode_escape_length)
        return parse_end_of_input;
    if (const parse_result result = read_utf16_unit(units[0], pos + 2); result != parse_ok)
        return result;
    if (!fl::i18n::is_surrogate(units[0])) { // as nearly all are
        out.put(char32_t(units[0]));
        pos += unicode_escape_length;
        return parse_ok;
    }
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

// The byte that each letter after a backslash stands for, and 0 if it is not an escape letter.
constexpr auto escaped_bytes = [] {
    std::array<char, 256> bytes = {};
    for (const char letter : {'"', '/', '\\'})
        bytes[static_cast<unsigned char>(letter)] = letter;
    bytes['b'] = '\b';
    bytes['f'] = '\f';
    bytes['n'] = '\n';
    bytes['r'] = '\r';
    bytes['t'] = '\t';
    return bytes;
}();

// Reads the escape whose backslash is at `pos`, and writes to `out`, which has room for as many
// bytes as the escape has. `pos` moves, and anything is written, on success only.
parse_result read_escape(Output& out, Iterator& pos, const Iterator& end) {
    const Iterator letter = std::next(pos);
    if (letter == end)
        return parse_end_of_input;
    if (*letter == 'u')
        return read_unicode_escape(out, pos, end);
    const char byte = escaped_bytes[static_cast<unsigned char>(*letter)];
    if (byte == 0)
        return parse_bad_escape;
    out.put(byte);
    pos = std::next(letter);
    return parse_ok;
}

// Appends the plain bytes from `pos` to `stop`, and what the escapes among them stand for. The last
// escape may extend past `stop`. After a failure `pos` is at the backslash.
parse_result read_escaped_content(std::string& text, Iterator& pos, const Iterator& end,
                                  const char* stop) {
    Iterator next = pos;
    Output out(text, static_cast<std::size_t>(stop - std::to_address(next)));
    parse_result result = parse_ok;
    while (result == parse_ok && std::to_address(next) < stop) {
        if (*next == '\\')
            result = read_escape(out, next, end);
        else
            out.put(*next++);
    }
    out.finish();
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
        Output out(text, 2 * unicode_escape_length); // as the longest escape has
        const parse_result result = read_escape(out, pos, end);
        out.finish();
        return result;
    }
    text += *pos;
    ++pos;
    return parse_ok;
}

parse_result read_quoted(std::string& text, Iterator& pos, const Iterator& end) {
    if (pos == end)
        return parse_end_of_input;
    if (*pos != '"')
        return parse_no_opening_quote;
    ++pos;
    return read_string_content(text, pos, end);
}

parse_result read_string(std::string& out, Iterator& pos, const Iterator& end,
                         bool /*allow_comments*/) {
    std::string text;
    const parse_result result = read_quoted(text, pos, end);
    if (result == parse_ok)
        out.swap(text);
    return result;
}

parse_result parse_string(Value& out, Iterator& pos, const Iterator& end, bool /*allow_comments*/) {
    std::string text;
    const parse_result result = read_quoted(text, pos, end);
    if (result == parse_ok) {
        Value value(std::move(text));
        store_value(out, value);
    }
    return result;
}

} // namespace foundation::json::detail
