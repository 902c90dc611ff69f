#include "foundation/json/detail/parser.hpp"

#include <algorithm>
#include <cstddef>

namespace foundation::json::detail {

parse_result match_literal(Iterator& pos, const Iterator& end, std::string_view literal,
                           parse_result mismatch) {
    const auto remaining = static_cast<std::size_t>(end - pos);
    const std::string_view expected = literal.substr(0, remaining);
    if (!std::equal(expected.begin(), expected.end(), pos))
        return mismatch;
    if (remaining < literal.size())
        return parse_end_of_input;
    pos += static_cast<std::ptrdiff_t>(literal.size());
    return parse_ok;
}

parse_result parse_boolean(Value& out, Iterator& pos, const Iterator& end,
                           bool /*allow_comments*/) {
    bool truth = true;
    parse_result result = match_literal(pos, end, "true", parse_bad_boolean);
    if (result == parse_bad_boolean) {
        truth = false;
        result = match_literal(pos, end, "false", parse_bad_boolean);
    }
    if (result == parse_ok) {
        Value value(truth);
        store_value(out, value);
    }
    return result;
}

parse_result parse_null(Value& out, Iterator& pos, const Iterator& end, bool /*allow_comments*/) {
    const parse_result result = match_literal(pos, end, "null", parse_bad_null);
    if (result == parse_ok) {
        Value value((Null()));
        store_value(out, value);
    }
    return result;
}

} // namespace foundation::json::detail
