#include "foundation/json/detail/bracketed_list.hpp"
#include "foundation/json/detail/parser.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
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

// Appends the integers of an array to `elements`. After a failure some of them are there.
template <class Integer>
parse_result append_payload(ValueVector& elements, Iterator& pos, const Iterator& end,
                            bool allow_comments, int depth,
                            parse_result (*scan)(Integer&, Iterator&, const Iterator&)) {
    constexpr Brackets brackets = {'[', ']', parse_no_array_open, parse_bad_array_separator};
    return read_bracketed_list(brackets, pos, end, allow_comments, depth, [&]() -> parse_result {
        Integer element = 0;
        if (const parse_result result = scan(element, pos, end); result != parse_ok)
            return result;
        skip_whitespace(pos, end, allow_comments);
        if (pos != end && makes_no_integer(*pos))
            return parse_not_an_integer;
        elements.emplace_back(element);
        return parse_ok;
    });
}

// The same, but a failure leaves `out` as it was.
template <class Integer>
parse_result parse_payload(ValueVector& out, Iterator& pos, const Iterator& end,
                           bool allow_comments, int depth,
                           parse_result (*scan)(Integer&, Iterator&, const Iterator&)) {
    ValueVector elements;
    const parse_result result = append_payload(elements, pos, end, allow_comments, depth, scan);
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
        is_signed_type_name(type_name)
            ? parse_signed_payload(elements, pos, end, allow_comments, depth)
            : parse_unsigned_payload(elements, pos, end, allow_comments, depth);
    if (result == parse_ok) {
        Value value(std::move(elements));
        store_value(out, value);
    }
    return result;
}

namespace {

// An array of integers whose type comes after it.
struct TypedLater {
    std::size_t count;
    Iterator end;
};

// Returns the array at `pos` if its type is the very next member, as our own writer puts it.
// Nothing if it is not, or if there is whitespace, or anything that is no integer.
std::optional<TypedLater> find_typed_later(Iterator pos, const Iterator& end) {
    if (pos == end || *pos != '[')
        return std::nullopt;
    std::size_t count = 0;
    do {
        ++pos; // past the bracket or the comma
        if (pos != end && *pos == '-')
            ++pos;
        if (pos == end || !is_digit(*pos))
            return std::nullopt;
        read_digits(pos, end);
        ++count;
    } while (pos != end && *pos == ',');
    const Iterator list_end = pos;
    for (const char* const part : {"],\"", typed_type_key, "\":\""})
        if (match_literal(pos, end, part, parse_no_colon) != parse_ok)
            return std::nullopt;
    const std::string_view name(std::to_address(pos), std::to_address(std::find(pos, end, '"')));
    if (pos + static_cast<std::ptrdiff_t>(name.size()) == end || !is_type_name(name))
        return std::nullopt;
    return TypedLater{count, list_end + 1};
}

} // namespace

parse_result read_data_member(TypedState& state, Value& out, Iterator& pos, const Iterator& end,
                              bool allow_comments, int depth) {
    state.data_pos = pos;
    state.data_end = end;
    state.data_pending = true;
    try {
        if (state.type_name.empty() && depth < max_nesting_depth) {
            // It will be read again, so that a place of the right size does until then.
            if (const auto array = find_typed_later(pos, end)) {
                ValueVector elements;
                elements.reserve(array->count);
                out = Value(std::move(elements));
                pos = array->end;
                return parse_ok;
            }
        }
        return parse_typed_data(state.type_name, out, pos, end, allow_comments, depth);
    } catch (...) {
        return parse_end_of_input;
    }
}

namespace {

// Reads the payload of `state` again, now that its type is known, and replaces `data`, the result
// of the first reading. That one had as many elements, so that hardly any memory is taken. If
// memory is exhausted nevertheless, `data` becomes undefined.
parse_result read_data_again(TypedState& state, Value& data, bool allow_comments, int depth) {
    try {
        if (data.get_if<ValueVector>() == nullptr)
            data = Value(ValueVector()); // the object has an earlier kxdata, which was no array
        auto& elements = data.get<ValueVector>();
        elements.clear();
        Iterator pos = state.data_pos;
        const parse_result result =
            is_signed_type_name(state.type_name)
                ? append_payload(elements, pos, state.data_end, allow_comments, depth, scan_signed)
                : append_payload(elements, pos, state.data_end, allow_comments, depth,
                                 scan_unsigned);
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
    if (is_type_name(*name))
        state.type_name = *name;
    if (!state.data_pending || state.type_name.empty())
        return parse_ok;
    return read_data_again(state, members[typed_data_key], allow_comments, depth);
}

} // namespace foundation::json::detail
