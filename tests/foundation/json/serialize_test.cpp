#include "foundation/json/serialize.hpp"

#include "support/reading.hpp"
#include "support/table.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

#ifdef __SSE2__
#include <xmmintrin.h>
#endif

namespace {

using namespace foundation::json;

// Makes arithmetic take subnormal numbers for zero, as a program does that was linked with
// -ffast-math. Elsewhere than on amd64 it leaves arithmetic alone.
void without_subnormals([[maybe_unused]] bool off) {
#ifdef __SSE2__
    constexpr unsigned flags = 0x8040;
    _mm_setcsr(off ? _mm_getcsr() | flags : _mm_getcsr() & ~flags);
#endif
}

// Also under a locale whose decimal separator is a comma, and without subnormal numbers.
TEST(Serialize, WritesWhatReadsBackAsTheSame) {
    for (const char* locale : {"C", "de_DE.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
        EXPECT_STREQ(std::localeconv()->decimal_point, *locale == 'C' ? "." : ",");
        without_subnormals(*locale != 'C');
        for (const auto& row : test::read_table("serialize.tsv")) {
            const Value value = test::read(row[0]).out;
            EXPECT_EQ(serialize(value), row[1]);
            EXPECT_EQ(test::read(row[1]).out, value);
        }
        for (const float sign : {1.0F, -1.0F}) {
            const Value smallest(std::copysign(std::numeric_limits<float>::denorm_min(), sign));
            EXPECT_EQ(serialize(smallest),
                      sign < 0 ? "-1.401298464324817e-45" : "1.401298464324817e-45");
            EXPECT_EQ(serialize(Value(std::copysign(0.0F, sign))), sign < 0 ? "-0" : "0");
        }
    }
    without_subnormals(false);
    std::setlocale(LC_ALL, "C");
}

TEST(Serialize, WritesWhatTheReaderNeverMakes) {
    EXPECT_EQ(serialize(Value()), "null");
    EXPECT_EQ(serialize(Value(std::nan(""))), "null");
    EXPECT_EQ(serialize(Value(0.1F)), "0.10000000149011612");
    EXPECT_EQ(serialize(Value(1e9F)), "1000000000");
    Value map((ValueMap()));
    const Value taken = std::move(map);
    EXPECT_EQ(serialize(map), "{}");
}

// The reader never converts the first half of a pair alone.
TEST(TextServices, ReplaceTheFirstHalfOfAPairAtTheEnd) {
    EXPECT_EQ(detail::u16_to_u8(u"\xD83D\xDE00", 1), "\xEF\xBF\xBD");
}

} // namespace
