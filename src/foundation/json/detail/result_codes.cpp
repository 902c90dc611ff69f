#include "foundation/json/detail/parse_value.hpp"

namespace foundation::json::detail {

// There is no default branch, so that the compiler warns of a new code without a text.
const char* describe(parse_result result) noexcept {
    switch (static_cast<parse_code>(result)) {
    case parse_ok:
        return "The value was read.";
    case parse_bad_null:
        return "The word is not null.";
    case parse_bad_boolean:
        return "The word is neither true nor false.";
    case parse_bad_unicode_escape:
        return "A \\u escape needs four hexadecimal digits, and a second escape after a high "
               "surrogate.";
    case parse_bad_escape:
        return "The character after the backslash is not an escape letter.";
    case parse_string_end:
        return "The closing quote was reached.";
    case parse_no_opening_quote:
        return "No value begins here, or no quote opens the key of a member.";
    case parse_bad_number:
        return "A number needs a digit here.";
    case parse_bad_fraction:
        return "A decimal point needs a digit after it.";
    case parse_bad_exponent:
        return "An exponent needs a digit.";
    case parse_no_array_open:
        return "A typed payload must be an array.";
    case parse_bad_array_separator:
        return "A comma or a closing bracket is missing after an element.";
    case parse_no_object_open:
        return "An object must begin with a brace.";
    case parse_bad_object_separator:
        return "A comma or a closing brace is missing after a member.";
    case parse_no_colon:
        return "A colon is missing after the key of a member.";
    case parse_end_of_input:
        return "The text ends before the value does.";
    case parse_not_an_integer:
        return "An element of a typed payload is not an integer.";
    case parse_nesting_too_deep:
        return "Arrays and objects are nested too deeply.";
    }
    return "This number is not a result code of the reader.";
}

} // namespace foundation::json::detail
