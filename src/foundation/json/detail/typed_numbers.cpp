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

template <class Integer>
using Scan = parse_result (*)(Integer&, Iterator&, const Iterator&);

// Reads an array of integers, each by `scan`, and passes each to `take`.
template <class Integer, class Take>
parse_result read_payload(Iterator& pos, const Iterator& end, bool allow_comments, int depth,
                          Scan<Integer> scan, const Take& take) {
    constexpr Brackets brackets = {'[', ']', parse_no_array_open, parse_bad_array_separator};
    const auto read_element = [&]() -> parse_result {
        Integer element = 0;
        if (const parse_result result = scan(element, pos, end); result != parse_ok)
            return result;
        skip_whitespace(pos, end, allow_comments);
        if (pos != end && makes_no_integer(*pos))
            return parse_not_an_integer;
        take(element);
        return parse_ok;
    };
    return read_bracketed_list(brackets, pos, end, allow_comments, depth, read_element);
}

template <class Integer>
parse_result parse_payload(ValueVector& out, Iterator& pos, const Iterator& end,
                           bool allow_comments, int depth, Scan<Integer> scan) {
    ValueVector elements;
    const parse_result result =
        read_payload(pos, end, allow_comments, depth, scan,
                     [&](Integer element) { elements.emplace_back(element); });
    if (result == parse_ok)
        out.swap(elements);
    return result;
}

// Reads the last kxdata of `state` again, each integer by `scan`, into the elements that it has:
// an array of integers has as many by any reading. So this takes no memory, and cannot stop
// halfway. The first pass only looks for faults: after one, the elements are as they were.
template <class Integer>
parse_result read_data_again(const TypedState& state, bool allow_comments, int depth,
                             Scan<Integer> scan) {
    const auto read = [&](const auto& take) {
        Iterator pos = state.data_pos;
        return read_payload(pos, state.data_end, allow_comments, depth, scan, take);
    };
    if (const parse_result result = read([](Integer) {}); result != parse_ok)
        return result;
    auto element = state.data->get<ValueVector>().begin();
    return read([&](Integer number) { *element++ = Value(number); });
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
    state.data = &out;
    state.data_pos = pos;
    state.data_end = end;
    state.data_pending = true;
    try {
        return parse_typed_data(state.type_name, out, pos, end, allow_comments, depth);
    } catch (...) {
        return parse_end_of_input;
    }
}

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
    const parse_result result = is_signed_typed_name(state.type_name)
                                    ? read_data_again(state, allow_comments, depth, scan_signed)
                                    : read_data_again(state, allow_comments, depth, scan_unsigned);
    if (result != parse_ok)
        return result;
    state.data_pending = false;
    Value& member = members[typed_data_key];
    if (state.data != &member)
        store_value(member, *state.data);
    return parse_ok;
}

} // namespace foundation::json::detail
