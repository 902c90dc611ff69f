#include "fl/i18n/text_conversion.hpp"

#include "support/failure.hpp"
#include "support/table.hpp"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using fl::ustring;
using fl::i18n::conversion_error;
using fl::i18n::ustring_to_utf8;
using fl::i18n::utf8_to_ustring;

ustring from_hexadecimal(const std::string& units) {
    std::istringstream stream(units);
    ustring text;
    for (unsigned unit = 0; stream >> std::hex >> unit;)
        text += static_cast<char16_t>(unit);
    return text;
}

TEST(TextConversion, IsStrictAndLosesNothing) {
    for (const auto& row : test::read_table("conversions.tsv")) {
        SCOPED_TRACE(row[1] + "|" + row[2]);
        const ustring utf16 = from_hexadecimal(row[2]);
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
    const ustring longer_in_utf8(100000, u'\u20AC');
    EXPECT_EQ(ustring_to_utf8(longer_in_utf8).size(), 300000U);
    EXPECT_EQ(utf8_to_ustring(ustring_to_utf8(longer_in_utf8)), longer_in_utf8);
    EXPECT_EQ(test::failure_of([&] { return ustring_to_utf8(longer_in_utf8 + char16_t(0xD800)); }),
              "ill-formed UTF-16 at offset 100000");
}

} // namespace
