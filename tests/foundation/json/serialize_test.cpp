#include "foundation/json/serialize.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "support/table.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>

namespace {

using namespace foundation::json;

Value read(const std::string& text) {
    Value value;
    auto pos = text.begin();
    EXPECT_EQ(detail::parse_value(value, pos, text.end(), false), detail::parse_ok) << text;
    EXPECT_EQ(pos, text.end()) << text;
    return value;
}

TEST(Serialize, WritesWhatReadsBackAsTheSame) {
    for (const auto& row : test::read_table("serialize.tsv")) {
        const Value value = read(row[0]);
        EXPECT_EQ(serialize(value), row[1]);
        EXPECT_EQ(read(row[1]), value);
    }
}

TEST(Serialize, WritesWhatTheReaderNeverMakes) {
    EXPECT_EQ(serialize(Value()), "null");
    EXPECT_EQ(serialize(Value(std::nan(""))), "null");
    EXPECT_EQ(serialize(Value(0.1F)), "0.10000000149011612"); // reads back as that very number
    Value map((ValueMap()));
    const Value taken = std::move(map);
    EXPECT_EQ(serialize(map), "{}");
}

// The reader never asks for the first half of a pair alone.
TEST(TextServices, ReplaceTheFirstHalfOfAPairAtTheEnd) {
    EXPECT_EQ(detail::u16_to_u8(u"\xD83D\xDE00", 1), "\xEF\xBF\xBD");
}

TEST(Serialize, NumbersDoNotCareForTheLocale) {
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    char printed[8] = {};
    std::snprintf(printed, sizeof printed, "%.1f", 1.5);
    EXPECT_STREQ(printed, "1,5"); // the locale is really set
    EXPECT_EQ(serialize(Value(1.5)), "1.5");
    EXPECT_EQ(read("[1.5,12345.75]"), Value(ValueVector{Value(1.5), Value(12345.75)}));
    std::setlocale(LC_ALL, "C");
}

} // namespace
