// The operations of the JSON reader, all on one page.
//
// All follow one convention. `pos` moves past the text that was read; after a failure it is where
// reading stopped. `end` is the end of the text. The result is a result code, 0 for success. `out`
// is assigned last, so that a failure, or an exception when memory is exhausted, leaves it as it
// was. No operation skips whitespace before or after its own text.
//
// With `allow_comments` comments count as whitespace. `depth` is the number of arrays and objects
// around the text. It is an argument, so that the reader has no state.

#pragma once

#include "fl/i18n/lcctype.hpp"
#include "foundation/json/detail/parse_value.hpp"
#include "foundation/json/typed_integers.hpp"
#include "foundation/json/value.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace foundation::json::detail {

// Values (values.cpp). The exported form of parse_value has no depth.

[[nodiscard]] parse_result parse_value(Value& out, Iterator& pos, const Iterator& end,
                                       bool allow_comments, int depth);

// Moves `source` into `target`; takes no memory and cannot fail.
inline void store_value(Value& target, Value& source) noexcept {
    target = std::move(source);
}

// Literals (literals.cpp).

// Reads `literal`. On failure `pos` does not move, and the result is parse_end_of_input where the
// text ends within the literal, and `mismatch` elsewhere.
[[nodiscard]] parse_result match_literal(Iterator& pos, const Iterator& end,
                                         std::string_view literal, parse_result mismatch);

[[nodiscard]] parse_result parse_boolean(Value& out, Iterator& pos, const Iterator& end,
                                         bool allow_comments);
[[nodiscard]] parse_result parse_null(Value& out, Iterator& pos, const Iterator& end,
                                      bool allow_comments);

// Numbers (numbers.cpp).

// Moves `pos` past the text of a number. Any byte may follow.
[[nodiscard]] parse_result scan_number(Iterator& pos, const Iterator& end);

[[nodiscard]] parse_result parse_number(double& out, Iterator& pos, const Iterator& end,
                                        bool allow_comments);

// Strings (strings.cpp).

[[nodiscard]] parse_result parse_string(Value& out, Iterator& pos, const Iterator& end,
                                        bool allow_comments);

// Reads a quoted text: a string value, or the key of a member.
[[nodiscard]] parse_result read_string(std::string& out, Iterator& pos, const Iterator& end,
                                       bool allow_comments);

// The same, into an empty string of the caller's own: a failure leaves a part of the text in it.
[[nodiscard]] parse_result read_quoted(std::string& text, Iterator& pos, const Iterator& end);

// Reads one plain byte or one escape, and appends what it stands for to `text`. At the closing
// quote the result is parse_string_end. `pos` moves on success only.
[[nodiscard]] parse_result read_string_element(std::string& text, Iterator& pos,
                                               const Iterator& end);

// Arrays and objects (arrays.cpp, objects.cpp).

[[nodiscard]] parse_result parse_array(Value& out, Iterator& pos, const Iterator& end,
                                       bool allow_comments, int depth = 0);
[[nodiscard]] parse_result parse_array_elements(ValueVector& out, Iterator& pos,
                                                const Iterator& end, bool allow_comments,
                                                int depth = 0);
[[nodiscard]] parse_result parse_object(Value& out, Iterator& pos, const Iterator& end,
                                        bool allow_comments, int depth = 0);
[[nodiscard]] parse_result parse_object_members(ValueMap& out, Iterator& pos, const Iterator& end,
                                                bool allow_comments, int depth = 0);

// Reads an object into `members`, which must be empty. After a failure they are those that a comma
// follows: any other may be truncated. Counts `repeated` keys, whose values are dropped.
[[nodiscard]] parse_result read_members(ValueMap& members, Iterator& pos, const Iterator& end,
                                        bool allow_comments, int depth = 0,
                                        std::size_t* repeated = nullptr);

// Typed integers (typed_numbers.cpp): see foundation/json/typed_integers.hpp. The two members may
// come in either order.

// The typed members of one object, as far as it was read.
struct TypedState {
    std::string type_name;     // the last type that was named; empty before
    bool data_pending = false; // kxdata was read, and waits for a type to be read again
    Iterator data_pos;         // where the last kxdata begins
    Iterator data_end;
    Value* data = nullptr; // what the last kxdata was read to: the member, or the next
    Value later_data;      // of a kxdata that is not the first, and so not the member
};

// Reads the value of kxdata. If memory is exhausted, the result is parse_end_of_input.
[[nodiscard]] parse_result read_data_member(TypedState& state, Value& out, Iterator& pos,
                                            const Iterator& end, bool allow_comments, int depth);

// Reads the value of kxtype. If kxdata came first, it is then read again as that type, and replaced
// in `members`; this takes no memory, and does not move `pos`.
[[nodiscard]] parse_result read_type_member(TypedState& state, ValueMap& members, Value& out,
                                            Iterator& pos, const Iterator& end, bool allow_comments,
                                            int depth);

// Reads an array of integers of the type `type_name`; any value if the name is empty.
[[nodiscard]] parse_result parse_typed_data(const std::string& type_name, Value& out, Iterator& pos,
                                            const Iterator& end, bool allow_comments,
                                            int depth = 0);

[[nodiscard]] parse_result parse_signed_payload(ValueVector& out, Iterator& pos,
                                                const Iterator& end, bool allow_comments,
                                                int depth = 0);
[[nodiscard]] parse_result parse_unsigned_payload(ValueVector& out, Iterator& pos,
                                                  const Iterator& end, bool allow_comments,
                                                  int depth = 0);

// Read an integer: an optional minus, then a single 0, or digits that do not begin with 0. A number
// out of range becomes the nearest one in range.
[[nodiscard]] parse_result scan_signed(long long& out, Iterator& pos, const Iterator& end);
[[nodiscard]] parse_result scan_unsigned(unsigned long long& out, Iterator& pos,
                                         const Iterator& end);

// Whitespace (whitespace.cpp).

void skip_all_whitespace(Iterator& pos, const Iterator& end, bool allow_comments);

// Moves `pos` to the first byte that is not whitespace, or to `end`. An unterminated comment
// extends to `end`; a slash that does not open a comment is not skipped.
inline void skip_whitespace(Iterator& pos, const Iterator& end, bool allow_comments) {
    // Our own writer leaves no whitespace.
    if (pos != end && *pos > ' ' && *pos != '/')
        return;
    skip_all_whitespace(pos, end, allow_comments);
}

// The sign of a char is extended, so that bytes from 0x80 up are not ASCII.
[[nodiscard]] inline bool is_digit(char byte) noexcept {
    return fl::i18n::lcctype::isdigit_ascii(static_cast<char32_t>(byte));
}

// Moves `pos` past the digits that begin there. Returns their value, modulo 2^64: that of up to 19
// digits is exact.
inline std::uint64_t read_digits(Iterator& pos, const Iterator& end) noexcept {
    Iterator digit = pos; // a copy, as the compiler need not keep it in memory
    std::uint64_t value = 0;
    for (; digit != end && is_digit(*digit); ++digit)
        value = value * 10 + static_cast<std::uint64_t>(*digit - '0');
    pos = digit;
    return value;
}

} // namespace foundation::json::detail
