/// \file
/// The entry point of the JSON reader, its result codes and their descriptions.
///
/// The reader is a recursive-descent parser over the bytes of a std::string. It reports malformed
/// text by a result code and the position where reading stopped. It throws only if memory is
/// exhausted. The value does not point into the text. The reader has no state, so that threads may
/// read at the same time.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/detail/text_services.hpp"
#include "foundation/json/value.hpp"

/// The reader, and what it shares with the writer.
namespace foundation::json::detail {

/// 0 for success, otherwise one of the codes below. describe() returns a sentence for each.
using parse_result = int;

/// Each code is shown with a text that causes it. Those marked "(internal)" are codes that only the
/// reader's own operations return; parse_value never returns them.
enum parse_code : parse_result {
    parse_ok = 0,                    ///< the value was read
    parse_bad_null = 1,              ///< (internal) `nulx`
    parse_bad_boolean = 2,           ///< (internal) `falsx`
    parse_bad_unicode_escape = 5,    ///< `"\u12G4"`
    parse_bad_escape = 6,            ///< `"\q"`
    parse_string_end = 7,            ///< (internal) the closing quote was reached
    parse_no_opening_quote = 8,      ///< `x`, or any other byte that begins no value or key
    parse_bad_number = 11,           ///< `-x`
    parse_bad_fraction = 12,         ///< `1.x`
    parse_bad_exponent = 13,         ///< `1ex`
    parse_no_array_open = 14,        ///< `{"kxtype":"int8","kxdata":5}`
    parse_bad_array_separator = 15,  ///< `[1 2]`
    parse_no_object_open = 16,       ///< (internal) the value is not an object
    parse_bad_object_separator = 17, ///< `{"a":1 "b":2}`
    parse_no_colon = 18,             ///< `{"a" 1}`
    parse_end_of_input = 19,         ///< `[1,`
    parse_not_an_integer = 20,       ///< `{"kxtype":"int8","kxdata":[1.5]}`
    parse_nesting_too_deep = 21,     ///< 513 times `[`
};

// Not inline: with g++ an inline variable may become a symbol that is unique in the process, which
// keeps a plug-in from being unloaded.

/// The greatest depth at which arrays and objects may nest; one level more is
/// parse_nesting_too_deep. Without a limit a hostile file would exhaust the stack.
constexpr int max_nesting_depth = 512;

/// Reads the value that begins at `pos`. Whitespace before the value is not skipped, and text after
/// it is not read. If `allow_comments` is true, comments count as whitespace inside arrays and
/// objects.
///
/// On success, `out` holds the value, `pos` is after its text, and the result is parse_ok. On
/// failure, `out` is unchanged, `pos` is where reading stopped, and the result is the code of the
/// fault.
///
/// Throws std::bad_alloc and std::length_error if memory is exhausted; `out` is then unchanged, and
/// `pos` is anywhere in the text. The member "kxdata" (foundation/json/typed_integers.hpp) is an
/// exception: if memory is exhausted while it is read, the result is parse_end_of_input; if that
/// happens while it is read a second time, because "kxtype" came after it, it becomes Undefined.
[[nodiscard]] KX_EXPORT parse_result parse_value(Value& out, Iterator& pos, const Iterator& end,
                                                 bool allow_comments);

/// Returns an English sentence, in ASCII, that describes `result`. There is also one for numbers
/// that are not result codes. The text is a string literal.
[[nodiscard]] KX_EXPORT const char* describe(parse_result result) noexcept;

} // namespace foundation::json::detail
