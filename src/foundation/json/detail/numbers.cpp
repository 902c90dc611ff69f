#include "foundation/json/detail/parser.hpp"

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
    skip_digits(pos, end);
    return parse_ok;
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
        skip_digits(pos, end);
    if (pos != end && *pos == '.') {
        if (++pos == end)
            return parse_end_of_input;
        if (!is_digit(*pos))
            return parse_bad_fraction;
    }
    skip_digits(pos, end);
    if (pos != end && (*pos == 'e' || *pos == 'E'))
        return scan_exponent(pos, end);
    return parse_ok;
}

parse_result parse_number(double& out, Iterator& pos, const Iterator& end,
                          bool /*allow_comments*/) {
    const Iterator start = pos;
    const parse_result result = scan_number(pos, end);
    if (result == parse_ok)
        out = string_to_double(get_utf8_string(start, pos).c_str());
    return result;
}

} // namespace foundation::json::detail
