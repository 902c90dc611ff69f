// Arrays and objects alike: brackets, and items separated by commas.

#pragma once

#include "foundation/json/detail/parser.hpp"

namespace foundation::json::detail {

struct Brackets {
    char open;
    char close;
    parse_result no_open;
    parse_result bad_separator;
};

// Reads from the opening bracket to the closing one. `read_item` reads one item at `pos`, without
// the whitespace around it, and returns a result code. An item must follow each comma.
template <class ReadItem>
[[nodiscard]] parse_result read_bracketed_list(const Brackets& brackets, Iterator& pos,
                                               const Iterator& end, bool allow_comments, int depth,
                                               const ReadItem& read_item) {
    if (pos == end)
        return parse_end_of_input;
    if (*pos != brackets.open)
        return brackets.no_open;
    ++pos;
    if (depth == max_nesting_depth)
        return parse_nesting_too_deep;
    skip_whitespace(pos, end, allow_comments);
    if (pos == end)
        return parse_end_of_input;
    if (*pos != brackets.close) {
        for (;;) {
            if (const parse_result result = read_item(); result != parse_ok)
                return result;
            skip_whitespace(pos, end, allow_comments);
            if (pos == end)
                return parse_end_of_input;
            if (*pos != ',')
                break;
            ++pos;
            skip_whitespace(pos, end, allow_comments);
        }
        if (*pos != brackets.close)
            return brackets.bad_separator;
    }
    ++pos;
    return parse_ok;
}

} // namespace foundation::json::detail
