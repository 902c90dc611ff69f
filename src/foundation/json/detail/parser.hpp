// The operations of the JSON reader, all on one page.
//
// All keep to one convention. `pos` is the only position: it moves forward over what was read, and
// after a failure it stands where reading stopped. `end` is the end of the text. The result is a
// parse_result. What is read is built in locals and stored in `out` at the very end, so that a
// failure, or an exception of an exhausted memory, leaves `out` as it was. None of them skips
// anything in front of the text that it reads, or behind it.
//
// `allow_comments` makes comments count as whitespace. `depth` is the number of arrays and objects
// that are open around the text; it travels as an argument so that the reader needs no state.

#pragma once

#include "fl/i18n/lcctype.hpp"
#include "foundation/json/detail/parse_value.hpp"
#include "foundation/json/typed_integers.hpp"
#include "foundation/json/value.hpp"

#include <string>
#include <string_view>
#include <utility>

namespace foundation::json::detail {

// Values (values.cpp). parse_value also has the form with four arguments that is exported.

[[nodiscard]] parse_result parse_value(Value& out, Iterator& pos, const Iterator& end,
                                       bool allow_comments, int depth);

// Moves `source` into `target`; takes no memory and cannot fail.
inline void store_value(Value& target, Value& source) noexcept {
    target = std::move(source);
}

// Literals (literals.cpp).

// Reads `literal` and returns 0. Otherwise `pos` stays, and the result is parse_end_of_input where
// the text ends within the literal, and `mismatch` elsewhere.
[[nodiscard]] parse_result match_literal(Iterator& pos, const Iterator& end,
                                         std::string_view literal, parse_result mismatch);

[[nodiscard]] parse_result parse_boolean(Value& out, Iterator& pos, const Iterator& end,
                                         bool allow_comments);
[[nodiscard]] parse_result parse_null(Value& out, Iterator& pos, const Iterator& end,
                                      bool allow_comments);

// Numbers (numbers.cpp).

// Moves `pos` over the text of a number; nothing is asked of the byte behind it.
[[nodiscard]] parse_result scan_number(Iterator& pos, const Iterator& end);

[[nodiscard]] parse_result parse_number(double& out, Iterator& pos, const Iterator& end,
                                        bool allow_comments);

// Strings (strings.cpp).

[[nodiscard]] parse_result parse_string(Value& out, Iterator& pos, const Iterator& end,
                                        bool allow_comments);

// Reads a quoted text: the content of a string value, or an object's key.
[[nodiscard]] parse_result read_string(std::string& out, Iterator& pos, const Iterator& end,
                                       bool allow_comments);

// Appends one plain byte, or what one escape stands for, to `text`. The result is parse_string_end,
// and nothing is read, at the closing quote. `pos` moves on success only.
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

// Typed numeric values (typed_numbers.cpp): an object whose member "kxtype" names an integer type
// has an array of exact 64-bit integers in its member "kxdata". The two members may come in either
// order.

// What one object has told of its typed value so far.
struct TypedState {
    std::string type_name;     // the latest valid one; empty before
    bool data_pending = false; // kxdata was read, and no kxtype has had it read again since
    Iterator data_pos;         // where the latest kxdata begins
    Iterator data_end;
};

// Reads the value of kxdata. If reading takes more memory than there is, the result is
// parse_end_of_input.
[[nodiscard]] parse_result read_data_member(TypedState& state, Value& out, Iterator& pos,
                                            const Iterator& end, bool allow_comments, int depth);

// Reads the value of kxtype, and what stands in `members` under kxdata again if that came first.
// The second reading does not move `pos`.
[[nodiscard]] parse_result read_type_member(TypedState& state, ValueMap& members, Value& out,
                                            Iterator& pos, const Iterator& end, bool allow_comments,
                                            int depth);

// Reads a value as `type_name` wants it: an array of integers, or any value if it is empty.
[[nodiscard]] parse_result parse_typed_data(const std::string& type_name, Value& out, Iterator& pos,
                                            const Iterator& end, bool allow_comments,
                                            int depth = 0);

[[nodiscard]] parse_result parse_signed_payload(ValueVector& out, Iterator& pos,
                                                const Iterator& end, bool allow_comments,
                                                int depth = 0);
[[nodiscard]] parse_result parse_unsigned_payload(ValueVector& out, Iterator& pos,
                                                  const Iterator& end, bool allow_comments,
                                                  int depth = 0);

// Read an integer: an optional minus, then a single 0 or digits that begin with none. What is out
// of range becomes the nearest number that is in it.
[[nodiscard]] parse_result scan_signed(long long& out, Iterator& pos, const Iterator& end);
[[nodiscard]] parse_result scan_unsigned(unsigned long long& out, Iterator& pos,
                                         const Iterator& end);

// Whitespace (whitespace.cpp).

void skip_all_whitespace(Iterator& pos, const Iterator& end, bool allow_comments);

// Moves `pos` to the first byte that is no whitespace, or to `end`. A comment that is not closed
// runs to `end`; a slash that opens no comment is not skipped.
inline void skip_whitespace(Iterator& pos, const Iterator& end, bool allow_comments) {
    // In what our own writer leaves there is none.
    if (pos != end && *pos > ' ' && *pos != '/')
        return;
    skip_all_whitespace(pos, end, allow_comments);
}

// A char is widened with its sign, so that bytes from 0x80 up are beyond ASCII.
[[nodiscard]] inline bool is_digit(char byte) noexcept {
    return fl::i18n::lcctype::isdigit_ascii(static_cast<char32_t>(byte));
}

inline void skip_digits(Iterator& pos, const Iterator& end) noexcept {
    while (pos != end && is_digit(*pos))
        ++pos;
}

} // namespace foundation::json::detail
