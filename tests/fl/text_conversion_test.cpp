#include "fl/i18n/text_conversion.hpp"

#include "support/failure.hpp"
#include "support/table.hpp"

#include <gtest/gtest.h>

namespace {

using fl::ustring;
using fl::i18n::conversion_error;
using fl::i18n::ustring_to_utf8;
using fl::i18n::utf8_to_ustring;

ustring from_hexadecimal(const std::string& units) {
    ustring text;
    for (const std::string& unit : test::split(units, ' '))
        text += static_cast<char16_t>(std::stoi(unit, nullptr, 16));
    return text;
}

TEST(TextConversion, IsStrictAndLosesNothing) {
    for (const auto& row : test::read_table("conversions.tsv")) {
        SCOPED_TRACE(row[1] + "|" + row[2]);
        const ustring utf16 = row[0] == "utf8" ? ustring() : from_hexadecimal(row[2]);
        if (row[0] == "both") {
            EXPECT_EQ(ustring_to_utf8(utf16), row[1]);
            EXPECT_EQ(utf8_to_ustring(row[1]), utf16);
        } else if (row[0] == "utf8") {
            EXPECT_EQ(test::failure_of<conversion_error>([&] { return utf8_to_ustring(row[2]); }),
                      "ill-formed UTF-8 at offset " + row[1]);
        } else {
            EXPECT_EQ(test::failure_of<conversion_error>([&] { return ustring_to_utf8(utf16); }),
                      "ill-formed UTF-16 at offset " + row[1]);
        }
    }
}

// Characters of every length at each place around the end of a block: of ASCII, which is copied as
// a whole.
TEST(TextConversion, SplitsNoCharacterWhereABlockEnds) {
    for (const std::string character : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"})
        for (std::size_t before = 0; before < 16400; before += before == 100 ? 16270 : 1) {
            const std::string utf8 = std::string(before, 'a') + character + character;
            const ustring utf16 = utf8_to_ustring(utf8);
            const ustring many(40000, u'\u20AC');
            EXPECT_TRUE(before > 0 || utf8_to_ustring(ustring_to_utf8(many)) == many);
            EXPECT_EQ(utf16.size(), before + (character.size() == 4 ? 4 : 2));
            EXPECT_EQ(ustring_to_utf8(utf16), utf8);
            EXPECT_EQ(test::failure_of([&] { return utf8_to_ustring(utf8 + character[0]); }),
                      "ill-formed UTF-8 at offset " + std::to_string(utf8.size()));
            EXPECT_EQ(test::failure_of([&] { return ustring_to_utf8(utf16 + char16_t(0xD800)); }),
                      "ill-formed UTF-16 at offset " + std::to_string(utf16.size()));
        }
}

} // namespace
