#include "foundation/json/serialize.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>

namespace {

using namespace foundation::json;

Value read(const std::string& text) {
    Value value;
    auto pos = text.begin();
    EXPECT_EQ(detail::parse_value(value, pos, text.end(), false), detail::parse_ok) << text;
    EXPECT_EQ(pos, text.end()) << text;
    return value;
}

TEST(Serialize, WritesEachAlternativeInItsForm) {
    ValueMap map;
    map.emplace("b", ValueVector());
    map.emplace("a", ValueVector{Value(true), Value(ValueMap())});
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        Value value;
        const char* text;
    } rows[] = {
        {Value(), "null"},
        {Value(Null()), "null"},
        {Value(true), "true"},
        {Value(false), "false"},
        {Value(0.1), "0.1"},
        {Value(-0.0), "-0"},
        {Value(1700000000123.0), "1700000000123"},
        {Value(5e-324), "5e-324"},
        {Value(1.7976931348623157e308), "1.7976931348623157e+308"},
        {Value(infinity), "1e999"},
        {Value(-infinity), "-1e999"},
        {Value(std::nan("")), "null"},
        {Value(0.1F), "0.10000000149011612"},
        {Value(std::numeric_limits<long long>::min()), "-9223372036854775808"},
        {Value(std::numeric_limits<unsigned long long>::max()), "18446744073709551615"},
        {Value(std::string("a\"b\\c/\b\f\n\r\t\x01\x1F\x7F\xC3\xA4\xFF")),
         "\"a\\\"b\\\\c/\\b\\f\\n\\r\\t\\u0001\\u001f\x7F\xC3\xA4\xFF\""},
        {Value(std::string("a\0b", 3)), "\"a\\u0000b\""},
        {Value(ValueVector{Value(1.0), Value(2.0)}), "[1,2]"},
        {Value(map), "{\"a\":[true,{}],\"b\":[]}"},
    };
    for (const auto& [value, text] : rows)
        EXPECT_EQ(serialize(value), text);
}

TEST(Serialize, WhatWasReadReadsBackAsTheSame) {
    for (const char* text :
         {"{\"a\":[1,-0.5e-7,1e999,-1e999,\"\\u0000\\ud83d\\ude00\\udc00\"],\"\":{\"x\":null}}",
          "[[],{},true,false,9007199254740993,2.2250738585072011e-308,4.9e-324,1e-400]"}) {
        const Value value = read(text);
        EXPECT_EQ(read(serialize(value)), value) << text;
    }
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

TEST(Serialize, TakesAValueThatWasMovedFrom) {
    Value map((ValueMap()));
    Value vector((ValueVector()));
    const Value taken[] = {std::move(map), std::move(vector)};
    EXPECT_EQ(serialize(map), serialize(taken[0]));
    EXPECT_EQ(serialize(vector), serialize(taken[1]));
}

} // namespace
