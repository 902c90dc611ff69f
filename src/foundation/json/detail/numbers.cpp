#include "foundation/json/detail/parser.hpp"

#include <cstddef>
#include <string>

namespace foundation::json::detail {

namespace {

// With `pos` at the letter of an exponent.
parse_result scan_exponent(Iterator& pos, const Iterator& end) {
    if (++pos == end)
        return parse_end_of_input;
    if ((*pos == '+' || *pos == '-') && ++pos == end)
        return parse_end_of_input;
    if (!is_digit(*pos))
        return parse_bad_exponent;
    read_digits(pos, end);
    return parse_ok;
}

// Reads a whole number of up to 15 digits, which a double holds exactly, so that it needs neither a
// text of its own nor rounding. Returns false, and changes nothing, at any other number.
bool read_exact_integer(double& out, Iterator& pos, const Iterator& end) {
    constexpr std::ptrdiff_t exact_digits = 15;
    const bool is_negative = pos != end && *pos == '-';
    const Iterator first = pos + (is_negative ? 1 : 0);
    Iterator last = first;
    const auto magnitude = static_cast<double>(read_digits(last, end));
    if (last == first || last - first > exact_digits ||
        (last != end && (*last == '.' || *last == 'e' || *last == 'E')))
        return false;
    out = is_negative ? -magnitude : magnitude;
    pos = last;
    return true;
}

} // namespace

parse_result scan_number(Iterator& pos, const Iterator& end) {
    if (pos == end)
        return parse_end_of_input;
    if (*pos == '-' && ++pos == end)
        return parse_end_of_input;
    if (!is_digit(*pos))
        return parse_bad_number;
    if (*pos == '0')
        ++pos; // a fraction may follow, or more digits, but then no fraction
    else
        read_digits(pos, end);
    if (pos != end && *pos == '.') {
        if (++pos == end)
            return parse_end_of_input;
        if (!is_digit(*pos))
            return parse_bad_fraction;
    }
    read_digits(pos, end);
    if (pos != end && (*pos == 'e' || *pos == 'E'))
        return scan_exponent(pos, end);
    return parse_ok;
}

parse_result parse_number(double& out, Iterator& pos, const Iterator& end,
                          bool /*allow_comments*/) {
    if (read_exact_integer(out, pos, end))
        return parse_ok;
    const Iterator start = pos;
    const parse_result result = scan_number(pos, end);
    if (result == parse_ok)
        out = string_to_double(get_utf8_string(start, pos).c_str());
    return result;
}

} // namespace foundation::json::detail
