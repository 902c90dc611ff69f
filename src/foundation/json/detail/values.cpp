#include "foundation/json/detail/parser.hpp"

namespace foundation::json::detail {

namespace {

// A misspelt literal fails as any text does that begins no value: at its first byte, with the code
// of the first alternative.
parse_result begins_no_value_unless_ok(parse_result literal_result) {
    return literal_result == parse_ok ? parse_ok : parse_no_opening_quote;
}

parse_result parse_number_value(Value& out, Iterator& pos, const Iterator& end,
                                bool allow_comments) {
    double number = 0;
    const parse_result result = parse_number(number, pos, end, allow_comments);
    if (result == parse_ok) {
        Value value(number);
        store_value(out, value);
    }
    return result;
}

} // namespace

// A value has one of six forms: string, number, object, array, boolean, null. If none can be read,
// the result is that of the form that was read furthest, and of several equally far the first in
// this order. No two forms begin with the same byte, and a literal that fails does not move `pos`.
// So the first byte decides, and the other forms need not be tried.
parse_result parse_value(Value& out, Iterator& pos, const Iterator& end, bool allow_comments,
                         int depth) {
    if (pos == end)
        return parse_end_of_input;
    switch (*pos) {
    case '"':
        return parse_string(out, pos, end, allow_comments);
    case '{':
        return parse_object(out, pos, end, allow_comments, depth);
    case '[':
        return parse_array(out, pos, end, allow_comments, depth);
    case 't':
    case 'f':
        return begins_no_value_unless_ok(parse_boolean(out, pos, end, allow_comments));
    case 'n':
        return begins_no_value_unless_ok(parse_null(out, pos, end, allow_comments));
    default:
        if (*pos == '-' || is_digit(*pos))
            return parse_number_value(out, pos, end, allow_comments);
        return parse_no_opening_quote;
    }
}

parse_result parse_value(Value& out, Iterator& pos, const Iterator& end, bool allow_comments) {
    return parse_value(out, pos, end, allow_comments, 0);
}

} // namespace foundation::json::detail
