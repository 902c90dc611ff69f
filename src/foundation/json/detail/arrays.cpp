#include "foundation/json/detail/bracketed_list.hpp"
#include "foundation/json/detail/parser.hpp"

#include <utility>

namespace foundation::json::detail {

parse_result parse_array_elements(ValueVector& out, Iterator& pos, const Iterator& end,
                                  bool allow_comments, int depth) {
    constexpr Brackets brackets = {'[', ']', parse_no_array_open, parse_bad_array_separator};
    ValueVector elements;
    const auto read_element = [&] {
        if (elements.capacity() == 0)
            elements.reserve(4); // instead of growing from one element
        return parse_value(elements.emplace_back(), pos, end, allow_comments, depth + 1);
    };
    const parse_result result =
        read_bracketed_list(brackets, pos, end, allow_comments, depth, read_element);
    if (result == parse_ok)
        out.swap(elements);
    return result;
}

parse_result parse_array(Value& out, Iterator& pos, const Iterator& end, bool allow_comments,
                         int depth) {
    ValueVector elements;
    const parse_result result = parse_array_elements(elements, pos, end, allow_comments, depth);
    if (result == parse_ok) {
        Value value(std::move(elements));
        store_value(out, value);
    }
    return result;
}

} // namespace foundation::json::detail
