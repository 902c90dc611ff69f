#include "foundation/json/detail/bracketed_list.hpp"
#include "foundation/json/detail/parser.hpp"

#include <utility>

namespace foundation::json::detail {

parse_result parse_array_elements(ValueVector& out, Iterator& pos, const Iterator& end,
                                  bool allow_comments, int depth) {
    constexpr Brackets brackets = {'[', ']', parse_no_array_open, parse_bad_array_separator};
    ValueVector elements;
    // Kept apart until a second one follows. So room for several, instead of growing from one, is
    // not taken at each level of a text that nests arrays as deeply as it can.
    Value first;
    enum { none, one, several } read = none;
    const auto read_element = [&] {
        if (read == none) {
            read = one;
            return parse_value(first, pos, end, allow_comments, depth + 1);
        }
        if (read == one) {
            read = several;
            elements.reserve(4);
            elements.push_back(std::move(first));
        }
        return parse_value(elements.emplace_back(), pos, end, allow_comments, depth + 1);
    };
    const parse_result result =
        read_bracketed_list(brackets, pos, end, allow_comments, depth, read_element);
    if (result != parse_ok)
        return result;
    if (read == one)
        elements.push_back(std::move(first));
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
