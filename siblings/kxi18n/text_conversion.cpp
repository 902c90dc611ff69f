#include "fl/i18n/text_conversion.hpp"

#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace fl::i18n {

conversion_error::conversion_error(const std::string& encoding, std::size_t offset)
    : std::runtime_error("ill-formed " + encoding + " at offset " + std::to_string(offset)),
      offset_(offset) {}

conversion_error::~conversion_error() = default;

namespace {

// ICU counts in 32 bits, so a long text is converted in pieces.
constexpr std::size_t most_units_at_once = 1 << 16;

// ICU's macros narrow on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"

struct FromUtf16 {
    static constexpr const char* encoding = "UTF-16";
    static constexpr auto icu_function = u_strToUTF8;

    // Returns where the character at `position` begins.
    static std::int32_t character_begin(const char16_t* text, std::int32_t position) {
        U16_SET_CP_START(text, 0, position);
        return position;
    }

    // Moves `position` past the next character, and returns whether it is well-formed.
    static bool skip_character(const char16_t* text, std::int32_t& position, std::int32_t length) {
        UChar32 character = 0;
        U16_NEXT(text, position, length, character);
        return !U_IS_SURROGATE(character);
    }
};

struct FromUtf8 {
    static constexpr const char* encoding = "UTF-8";
    static constexpr auto icu_function = u_strFromUTF8;

    static std::int32_t character_begin(const char* text, std::int32_t position) {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text);
        U8_SET_CP_START(bytes, 0, position);
        return position;
    }

    static bool skip_character(const char* text, std::int32_t& position, std::int32_t length) {
        UChar32 character = 0;
        U8_NEXT(text, position, length, character);
        return character >= 0;
    }
};

#pragma GCC diagnostic pop

// Returns where the first fault of an ill-formed text begins.
template <class From, class Unit>
std::size_t offset_of_fault(const Unit* text, std::int32_t length) {
    std::int32_t position = 0;
    std::int32_t begin = 0;
    while (From::skip_character(text, position, length))
        begin = position;
    return static_cast<std::size_t>(begin);
}

// Converts `length` units and appends them to `result`. Returns false if they are ill-formed. The
// first attempt has room for as many units as there are, which is enough for ASCII and for all
// texts that become UTF-16; otherwise ICU reports the number it needs for the second attempt.
template <class From, class Unit, class Result>
bool append_converted(Result& result, const Unit* text, std::int32_t length) {
    const std::size_t converted = result.size();
    std::int32_t room = length;
    for (;;) {
        result.resize(converted + static_cast<std::size_t>(room));
        UErrorCode status = U_ZERO_ERROR;
        std::int32_t needed = 0;
        From::icu_function(result.data() + converted, room, &needed, text, length, &status);
        if (U_SUCCESS(status)) {
            result.resize(converted + static_cast<std::size_t>(needed));
            return true;
        }
        if (status != U_BUFFER_OVERFLOW_ERROR)
            return false;
        room = needed;
    }
}

template <class Result, class From, class Text>
Result convert(const Text& text) {
    Result result;
    std::size_t position = 0;
    while (position < text.size()) {
        const auto* const piece = text.data() + position;
        const std::size_t left = text.size() - position;
        const auto length =
            left <= most_units_at_once
                ? static_cast<std::int32_t>(left)
                : From::character_begin(piece, static_cast<std::int32_t>(most_units_at_once));
        if (!append_converted<From>(result, piece, length))
            throw conversion_error(From::encoding, position + offset_of_fault<From>(piece, length));
        position += static_cast<std::size_t>(length);
    }
    return result;
}

} // namespace

std::string ustring_to_utf8(const ustring& text) {
    return convert<std::string, FromUtf16>(text);
}

ustring utf8_to_ustring(const std::string& text) {
    return convert<ustring, FromUtf8>(text);
}

} // namespace fl::i18n
