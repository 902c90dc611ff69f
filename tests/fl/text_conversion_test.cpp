#include "fl/i18n/text_conversion.hpp"

#include "fl/i18n/lcctype.hpp"

#include <gtest/gtest.h>

namespace {

using fl::ustring;
using fl::i18n::conversion_error;
using fl::i18n::ustring_to_utf8;
using fl::i18n::utf8_to_ustring;

TEST(TextConversion, GoesBothWaysWithoutLoss) {
    const struct {
        ustring utf16;
        std::string utf8;
    } rows[] = {
        {u"", ""},
        {u"plain", "plain"},
        {ustring(u"a\0b", 3), std::string("a\0b", 3)},
        {u"\u00E4\u20AC\U0001F600\uFFFD\uFFFF",
         "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD\xEF\xBF\xBF"},
        {ustring(100000, u'\u20AC'),
         [] {
             std::string text;
             for (int index = 0; index < 100000; ++index)
                 text += "\xE2\x82\xAC";
             return text;
         }()},
    };
    for (const auto& [utf16, utf8] : rows) {
        EXPECT_EQ(ustring_to_utf8(utf16), utf8);
        EXPECT_EQ(utf8_to_ustring(utf8), utf16);
    }
}

template <class Convert, class Text>
std::size_t offset_of_failure(const Convert& convert, const Text& text) {
    try {
        static_cast<void>(convert(text));
    } catch (const conversion_error& error) {
        const std::string message = error.what();
        EXPECT_NE(message.find("offset " + std::to_string(error.offset())), std::string::npos);
        return error.offset();
    }
    return ~std::size_t(0);
}

TEST(TextConversion, NamesTheOffsetOfIllFormedText) {
    const struct {
        ustring text;
        std::size_t offset;
    } utf16_rows[] = {
        {{u'a', 0xD800}, 1},
        {{0xDC00, u'a'}, 0},
        {{0xD83D, 0xDE00, 0xD800, u'a'}, 2},
        {{u'\u20AC', 0xDC00, 0xD800}, 1},
    };
    for (const auto& [text, offset] : utf16_rows)
        EXPECT_EQ(offset_of_failure(ustring_to_utf8, text), offset);
    const struct {
        std::string text;
        std::size_t offset;
    } utf8_rows[] = {
        {"a\xFF", 1},
        {"\xC3", 0},
        {"ab\xC3\xA4\x80", 4},
        {"\xC0\x80", 0},                 // overlong
        {"\xE2\x82\xAC\xED\xA0\x80", 3}, // an encoded surrogate
        {"\xF4\x90\x80\x80", 0},         // beyond U+10FFFF
    };
    for (const auto& [text, offset] : utf8_rows)
        EXPECT_EQ(offset_of_failure(utf8_to_ustring, text), offset);
}

TEST(CharacterClasses, HoldAsciiOnly) {
    std::string digits;
    std::string spaces;
    for (int value = -128; value < 128; ++value) {
        const char byte = static_cast<char>(value);
        if (fl::i18n::lcctype::isdigit_ascii(static_cast<char32_t>(byte)))
            digits += byte;
        if (fl::i18n::lcctype::isspace_ascii(static_cast<char32_t>(byte)))
            spaces += byte;
    }
    EXPECT_EQ(digits, "0123456789");
    EXPECT_EQ(spaces, "\t\n\v\f\r ");
}

} // namespace
