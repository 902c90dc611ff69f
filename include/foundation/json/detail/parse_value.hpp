/// \file
/// The entry of the JSON reader, its result codes and their texts.
///
/// The reader is a recursive-descent parser over the bytes of a std::string. Bad input is told by a
/// result code and the position where reading stopped, never by an exception; only exhausted memory
/// raises (std::bad_alloc, std::length_error). It keeps nothing that points into the text, and no
/// state between calls: any number of threads may read different texts.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/detail/text_services.hpp"
#include "foundation/json/value.hpp"

/// The reader, and what it shares with the writer.
namespace foundation::json::detail {

/// 0 for success, otherwise one of the codes below. Each has a sentence: see describe().
using parse_result = int;

/// Beside each code a text that provokes it. "(inside)" marks codes by which the parts of the
/// reader talk to each other and which parse_value never returns.
enum parse_code : parse_result {
    parse_ok = 0,                    ///< the value was read
    parse_bad_null = 1,              ///< (inside) `nulx`
    parse_bad_boolean = 2,           ///< (inside) `falsx`
    parse_bad_unicode_escape = 5,    ///< `"\u12G4"`
    parse_bad_escape = 6,            ///< `"\q"`
    parse_string_end = 7,            ///< (inside) the closing quote was reached
    parse_no_opening_quote = 8,      ///< `x`, and whatever else begins no value
    parse_bad_number = 11,           ///< `-x`
    parse_bad_fraction = 12,         ///< `1.x`
    parse_bad_exponent = 13,         ///< `1ex`
    parse_no_array_open = 14,        ///< `{"kxtype":"int8","kxdata":5}`
    parse_bad_array_separator = 15,  ///< `[1 2]`
    parse_no_object_open = 16,       ///< (inside) the value is no object
    parse_bad_object_separator = 17, ///< `{"a":1 "b":2}`
    parse_no_colon = 18,             ///< `{"a" 1}`
    parse_end_of_input = 19,         ///< `[1,`
    parse_not_an_integer = 20,       ///< `{"kxtype":"int8","kxdata":[1.5]}`
    parse_nesting_too_deep = 21,     ///< 513 times `[`
};

/// So many arrays and objects may be open inside each other; one more is parse_nesting_too_deep.
/// Without a bound a hostile file would exhaust the stack.
inline constexpr int max_nesting_depth = 512;

/// Reads the value whose text begins at `pos`, without skipping anything in front of it or behind.
/// Comments count as whitespace inside arrays and objects if `allow_comments` is set.
///
/// On success `out` holds the value, `pos` stands behind its text, and 0 is returned. On failure
/// `out` is unchanged, `pos` stands where reading stopped, and the code of the fault is returned;
/// so it is when an exception passes, but for `pos`.
[[nodiscard]] KX_EXPORT parse_result parse_value(Value& out, Iterator& pos, const Iterator& end,
                                                 bool allow_comments);

/// Says in one English sentence, in ASCII, what `result` means. The text is static; a number that
/// is no result code has one too.
[[nodiscard]] KX_EXPORT const char* describe(parse_result result) noexcept;

} // namespace foundation::json::detail
