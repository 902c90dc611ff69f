#include "foundation/json/detail/bracketed_list.hpp"
#include "foundation/json/detail/parser.hpp"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace foundation::json::detail {

namespace {

// Reads the sign and the digits of an integer. The magnitude is modulo 2^64.
parse_result scan_integer(std::uint64_t& magnitude, Iterator& pos, const Iterator& end) {
    if (pos == end)
        return parse_end_of_input;
    if (*pos == '-' && ++pos == end)
        return parse_end_of_input;
    if (!is_digit(*pos))
        return parse_not_an_integer;
    magnitude = 0;
    if (*pos == '0')
        ++pos; // the token ends after a leading zero
    else
        magnitude = read_digits(pos, end);
    return parse_ok;
}

// Returns the value of the token, and `beyond` if it is out of range.
template <class Integer>
Integer to_integer(std::uint64_t magnitude, Iterator first, Iterator last, Integer beyond) {
    if (last - first <= std::numeric_limits<Integer>::digits10 && *first != '-')
        return static_cast<Integer>(magnitude); // so few digits are always in range
    Integer number = beyond;                    // out of range, from_chars leaves it
    std::from_chars(std::to_address(first), std::to_address(last), number);
    return number;
}

// Whether an element that continues with `byte` is not an integer. Any other byte that is no
// separator is a fault of the array.
constexpr bool makes_no_integer(char byte) {
    return byte == '"' || byte == '.' || byte == 'E' || byte == 'e' || byte == '{';
}

// Reads an array of integers, each by `scan`.
template <class Integer>
parse_result parse_payload(ValueVector& out, Iterator& pos, const Iterator& end,
                           bool allow_comments, int depth,
                           parse_result (*scan)(Integer&, Iterator&, const Iterator&)) {
    constexpr Brackets brackets = {'[', ']', parse_no_array_open, parse_bad_array_separator};
    ValueVector elements;
    const auto read_element = [&]() -> parse_result {
        Integer element = 0;
        if (const parse_result result = scan(element, pos, end); result != parse_ok)
            return result;
        skip_whitespace(pos, end, allow_comments);
        if (pos != end && makes_no_integer(*pos))
            return parse_not_an_integer;
        elements.emplace_back(element);
        return parse_ok;
    };
    const parse_result result =
        read_bracketed_list(brackets, pos, end, allow_comments, depth, read_element);
    if (result == parse_ok)
        out.swap(elements);
    return result;
}

} // namespace

parse_result scan_signed(long long& out, Iterator& pos, const Iterator& end) {
    const Iterator start = pos;
    std::uint64_t magnitude = 0;
    const parse_result result = scan_integer(magnitude, pos, end);
    if (result == parse_ok) {
        using limits = std::numeric_limits<long long>;
        out = to_integer(magnitude, start, pos, *start == '-' ? limits::min() : limits::max());
    }
    return result;
}

parse_result scan_unsigned(unsigned long long& out, Iterator& pos, const Iterator& end) {
    const Iterator start = pos;
    std::uint64_t magnitude = 0;
    const parse_result result = scan_integer(magnitude, pos, end);
    if (result == parse_ok) {
        using limits = std::numeric_limits<unsigned long long>;
        out = *start == '-' ? 0 : to_integer(magnitude, start, pos, limits::max());
    }
    return result;
}

parse_result parse_signed_payload(ValueVector& out, Iterator& pos, const Iterator& end,
                                  bool allow_comments, int depth) {
    return parse_payload(out, pos, end, allow_comments, depth, scan_signed);
}

parse_result parse_unsigned_payload(ValueVector& out, Iterator& pos, const Iterator& end,
                                    bool allow_comments, int depth) {
    return parse_payload(out, pos, end, allow_comments, depth, scan_unsigned);
}

parse_result parse_typed_data(const std::string& type_name, Value& out, Iterator& pos,
                              const Iterator& end, bool allow_comments, int depth) {
    if (type_name.empty())
        return parse_value(out, pos, end, allow_comments, depth);
    ValueVector elements;
    const parse_result result =
        is_signed_typed_name(type_name)
            ? parse_signed_payload(elements, pos, end, allow_comments, depth)
            : parse_unsigned_payload(elements, pos, end, allow_comments, depth);
    if (result == parse_ok) {
        Value value(std::move(elements));
        store_value(out, value);
    }
    return result;
}

parse_result read_data_member(TypedState& state, Value& out, Iterator& pos, const Iterator& end,
                              bool allow_comments, int depth) {
    state.data_pos = pos;
    state.data_end = end;
    state.data_pending = true;
    try {
        return parse_typed_data(state.type_name, out, pos, end, allow_comments, depth);
    } catch (...) {
        return parse_end_of_input;
    }
}

namespace {

// Reads the payload of `state` again, now that its type is known, into `data`. If memory is
// exhausted, that becomes undefined.
parse_result read_data_again(TypedState& state, Value& data, bool allow_comments, int depth) {
    try {
        Iterator pos = state.data_pos;
        const parse_result result =
            parse_typed_data(state.type_name, data, pos, state.data_end, allow_comments, depth);
        state.data_pending = result != parse_ok;
        return result;
    } catch (...) {
        data = Value();
        return parse_ok;
    }
}

} // namespace

parse_result read_type_member(TypedState& state, ValueMap& members, Value& out, Iterator& pos,
                              const Iterator& end, bool allow_comments, int depth) {
    if (const parse_result result = parse_value(out, pos, end, allow_comments, depth);
        result != parse_ok)
        return result;
    const auto* const name = out.get_if<std::string>();
    if (name == nullptr)
        return parse_ok;
    if (is_typed_name(*name))
        state.type_name = *name;
    if (!state.data_pending || state.type_name.empty())
        return parse_ok;
    return read_data_again(state, members[typed_data_key], allow_comments, depth);
}

} // namespace foundation::json::detail
