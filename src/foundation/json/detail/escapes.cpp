#include "foundation/json/detail/byte_runs.hpp"
#include "foundation/json/detail/parser.hpp"

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
    if (value < 0) // as it stays after one that is no digit
        return parse_bad_unicode_escape;
    unit = static_cast<char16_t>(value);
    return parse_ok;
}

constexpr bool is_high_surrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}

constexpr bool is_low_surrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

// Writes at the end of a string, into room that is made for many bytes at once.
class TextWriter {
public:
    explicit TextWriter(std::string& text) : text_(text), end_(text.data() + text.size()) {}

    // Makes room for `size` more bytes. The string has these, too, until `finish`.
    void make_room(std::size_t size) {
        const std::size_t written = this->size();
        text_.resize(written + size);
        end_ = text_.data() + written;
    }

    void put(char32_t byte) noexcept { *end_++ = static_cast<char>(byte); }

    void put(const char* first, const char* last) noexcept { end_ = std::copy(first, last, end_); }

    // Puts bytes up to the first `stop`, or up to `last`, and returns where they end.
    const char* put_until(char stop, const char* first, const char* last) noexcept {
        char* end = end_;
        while (first != last && *first != stop)
            *end++ = *first++;
        end_ = end;
        return first;
    }

    // Of any length; what room there was, there is afterwards.
    void append(const std::string& string) {
        const std::size_t room = text_.size() - size();
        finish();
        text_ += string;
        end_ = text_.data() + text_.size();
        make_room(room);
    }

    // The string ends where it was written to.
    void finish() { text_.resize(size()); }

private:
    [[nodiscard]] std::size_t size() const noexcept {
        return static_cast<std::size_t>(end_ - text_.data());
    }

    std::string& text_;
    char* end_;
};

// Writes the units in UTF-8. Nearly all are one character, for which a string of its own would take
// longer than the rest.
void write_units(TextWriter& writer, const char16_t* units, int count) {
    const char32_t unit = units[0];
    if (count == 2 && is_low_surrogate(units[1])) {
        const char32_t character = 0x10000 + ((unit & 0x3FF) << 10) + (units[1] & 0x3FFU);
        writer.put(0xF0 | (character >> 18));
        writer.put(0x80 | ((character >> 12) & 0x3F));
        writer.put(0x80 | ((character >> 6) & 0x3F));
        writer.put(0x80 | (character & 0x3F));
    } else if (count == 2 || is_low_surrogate(units[0])) {
        writer.append(u16_to_u8(units, count));
    } else if (unit < 0x80) {
        writer.put(unit);
    } else if (unit < 0x800) {
        writer.put(0xC0 | (unit >> 6));
        writer.put(0x80 | (unit & 0x3F));
    } else {
        writer.put(0xE0 | (unit >> 12));
        writer.put(0x80 | ((unit >> 6) & 0x3F));
        writer.put(0x80 | (unit & 0x3F));
    }
}

// Reads the \u escape whose backslash is at `pos`. After a high surrogate a second escape must
// follow, of any unit. `pos` moves on success only.
parse_result read_unicode_escape(TextWriter& writer, Iterator& pos, const Iterator& end) {
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
    write_units(writer, units, count);
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

// Reads the escape whose backslash is at `pos`. There must be room for as many bytes. `pos` moves
// on success only, and nothing is written otherwise.
parse_result read_escape(TextWriter& writer, Iterator& pos, const Iterator& end) {
    const Iterator letter = std::next(pos);
    if (letter == end)
        return parse_end_of_input;
    if (*letter == 'u')
        return read_unicode_escape(writer, pos, end);
    const char byte = escaped_byte(*letter);
    if (byte == 0)
        return parse_bad_escape;
    writer.put(static_cast<unsigned char>(byte));
    pos = std::next(letter);
    return parse_ok;
}

// Reads plain bytes up to the next backslash, or up to `last`, and returns where they end. Between
// escapes there are often few, which is less than a search costs.
const char* read_plain_bytes(TextWriter& writer, const char* first, const char* last) {
    constexpr std::ptrdiff_t few = 16;
    const char* const stop = first + std::min(last - first, few);
    const char* const end = writer.put_until('\\', first, stop);
    if (end != stop)
        return end;
    const char* const run_end = find_byte('\\', stop, last);
    writer.put(stop, run_end);
    return run_end;
}

} // namespace

// Each of the functions above is called from one place, so that the compiler makes one loop of them
// all, without a pointer in memory.
parse_result read_escaped_content(std::string& text, Iterator& pos, const Iterator& end,
                                  const char* stop) {
    constexpr std::size_t longest_character = 4;
    TextWriter writer(text);
    Iterator next = pos;
    writer.make_room(static_cast<std::size_t>(stop - std::to_address(next)) + longest_character);
    parse_result result = parse_ok;
    while (result == parse_ok && std::to_address(next) < stop) {
        const char* const first = std::to_address(next);
        next += read_plain_bytes(writer, first, stop) - first;
        if (std::to_address(next) != stop)
            result = read_escape(writer, next, end);
    }
    writer.finish();
    pos = next;
    return result;
}

} // namespace foundation::json::detail
