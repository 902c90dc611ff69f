#include "fl/i18n/text_conversion.hpp"

#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <limits>
#include <new>

namespace fl::i18n {

conversion_error::conversion_error(const std::string& encoding, std::size_t offset)
    : std::runtime_error("ill-formed " + encoding + " at offset " + std::to_string(offset)),
      offset_(offset) {}

conversion_error::~conversion_error() = default;

namespace {

// ICU counts in 32 bits.
template <class Text>
std::int32_t icu_length(const Text& text) {
    if (text.size() > std::numeric_limits<std::int32_t>::max())
        throw std::length_error("text too long to convert: " + std::to_string(text.size()) +
                                " code units");
    return static_cast<std::int32_t>(text.size());
}

std::size_t offset_of_fault(const ustring& text) {
    const std::int32_t length = icu_length(text);
    std::int32_t position = 0;
    while (position < length) {
        const std::int32_t start = position;
        UChar32 character = 0;
        U16_NEXT(text.data(), position, length, character);
        if (U_IS_SURROGATE(character))
            return static_cast<std::size_t>(start);
    }
    return text.size();
}

// ICU's macro narrows on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"

std::size_t offset_of_fault(const std::string& text) {
    const std::int32_t length = icu_length(text);
    std::int32_t position = 0;
    while (position < length) {
        const std::int32_t start = position;
        UChar32 character = 0;
        U8_NEXT(text.data(), position, length, character);
        if (character < 0)
            return static_cast<std::size_t>(start);
    }
    return text.size();
}

#pragma GCC diagnostic pop

// Converts with an ICU function of the u_strToUTF8 family. The first try has room for as many units
// as `text` has, which suffices for ASCII and for every way to UTF-16; otherwise ICU has counted
// the units that it needs, and the second try has them.
template <class Result, class Text, class IcuFunction>
Result convert(const Text& text, const char* encoding, IcuFunction icu_function) {
    Result result(text.size(), 0);
    for (;;) {
        std::int32_t needed = 0;
        UErrorCode status = U_ZERO_ERROR;
        icu_function(result.data(), icu_length(result), &needed, text.data(), icu_length(text),
                     &status);
        if (status == U_INVALID_CHAR_FOUND)
            throw conversion_error(encoding, offset_of_fault(text));
        if (status == U_MEMORY_ALLOCATION_ERROR)
            throw std::bad_alloc();
        if (U_FAILURE(status) && status != U_BUFFER_OVERFLOW_ERROR)
            throw std::length_error("text too long to convert");
        result.resize(static_cast<std::size_t>(needed));
        if (status != U_BUFFER_OVERFLOW_ERROR)
            return result;
    }
}

} // namespace

std::string ustring_to_utf8(const ustring& text) {
    return convert<std::string>(text, "UTF-16", u_strToUTF8);
}

ustring utf8_to_ustring(const std::string& text) {
    return convert<ustring>(text, "UTF-8", u_strFromUTF8);
}

} // namespace fl::i18n
