#include "foundation/json/detail/parser.hpp"

#include "support/values.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace foundation::json;
using namespace foundation::json::detail;

// The result of reading a text: code, stopping place as an offset, and what stands in the output,
// which holds a string of its own before.
struct Reading {
    parse_result code;
    std::ptrdiff_t stop;
    Value out;
};

const Value untouched(std::string("untouched"));

Reading read(const std::string& text, bool allow_comments) {
    Reading reading = {parse_ok, 0, untouched};
    auto pos = text.begin();
    reading.code = parse_value(reading.out, pos, text.end(), allow_comments);
    reading.stop = pos - text.begin();
    return reading;
}

Value number(double value) {
    return Value(value);
}
Value text(std::string value) {
    return Value(std::move(value));
}
Value array(ValueVector elements) {
    return Value(std::move(elements));
}

struct Success {
    std::string text;
    std::ptrdiff_t stop;
    Value value;
};

struct Failure {
    std::string text;
    parse_result code;
    std::ptrdiff_t stop;
};

void expect_success(const Success& row, bool allow_comments) {
    SCOPED_TRACE("text " + row.text + (allow_comments ? " with comments" : ""));
    const Reading reading = read(row.text, allow_comments);
    EXPECT_EQ(reading.code, parse_ok);
    EXPECT_EQ(reading.stop, row.stop);
    EXPECT_EQ(reading.out, row.value);
}

void expect_failure(const Failure& row, bool allow_comments) {
    SCOPED_TRACE("text " + row.text + (allow_comments ? " with comments" : ""));
    const Reading reading = read(row.text, allow_comments);
    EXPECT_EQ(reading.code, row.code);
    EXPECT_EQ(reading.stop, row.stop);
    EXPECT_EQ(reading.out, untouched);
}

std::string repeated(int count, const std::string& text) {
    std::string result;
    for (int index = 0; index < count; ++index)
        result += text;
    return result;
}

// Well-formed texts without a slash: the same in both modes.
std::vector<Success> well_formed() {
    ValueMap ab;
    ab.emplace("a", number(1));
    ab.emplace("b", array({number(2), number(3)}));
    ValueMap first_wins;
    first_wins.emplace("a", number(1));
    ValueMap odd_keys;
    odd_keys.emplace("", number(1));
    odd_keys.emplace("A\n", number(2));
    return {
        {"true", 4, Value(true)},
        {"truex", 4, Value(true)},
        {"false", 5, Value(false)},
        {"nullx", 4, Value(Null())},
        {"1 2", 1, number(1)},
        {"007", 3, number(7)},
        {"-01", 3, number(-1)},
        {"00e2", 4, number(0)},
        {"-12.5e-1]", 8, number(-1.25)},
        {"0.1", 3, number(0.1)},
        {"123456789012345678901234567890", 30, number(123456789012345678901234567890.0)},
        {"\"\"", 2, text("")},
        {R"("a\\\"\b\f\n\r\tb")", 18, text("a\\\"\b\f\n\r\tb")},
        {R"("\u0041\u00e4\u20AC")", 20, text("A\xC3\xA4\xE2\x82\xAC")},
        {R"("\uD83D\uDE00")", 14, text("\xF0\x9F\x98\x80")},
        {R"("\uD83D\u0041")", 14,
         text("\xEF\xBF\xBD"
              "A")},
        {R"("\uDC00")", 8, text("\xEF\xBF\xBD")},
        {R"("\u0000")", 8, text(std::string(1, '\0'))},
        {std::string("\"\n\t\0\x80\xFF\"", 7), 7, text(std::string("\n\t\0\x80\xFF", 5))},
        {"{}", 2, Value(ValueMap())},
        {"{ }", 3, Value(ValueMap())},
        {"[]", 2, array({})},
        {"[ \t\n\v\f\r]", 8, array({})},
        {"[[[]]]", 6, array({array({array({})})})},
        {R"({ "a" : 1 , "b" : [ 2 , 3 ] })", 29, Value(ab)},
        {R"({"b":[2,3],"a":1}rest)", 17, Value(ab)},
        {R"({"a":1,"a":2})", 13, Value(first_wins)},
        {R"({"":1,"\u0041\n":2})", 19, Value(odd_keys)},
    };
}

TEST(ParseValue, ReadsWellFormedTextsInBothModes) {
    for (const Success& row : well_formed())
        for (const bool allow_comments : {false, true})
            expect_success(row, allow_comments);
}

TEST(ParseValue, TellsTheFaultOfATextInBothModes) {
    const Failure rows[] = {
        {"", parse_end_of_input, 0},
        {"x", parse_no_opening_quote, 0},
        {" 1", parse_no_opening_quote, 0},
        {"\xEF\xBB\xBF{}", parse_no_opening_quote, 0},
        {"nul", parse_no_opening_quote, 0},
        {"TRUE", parse_no_opening_quote, 0},
        {"fals", parse_no_opening_quote, 0},
        {"+1", parse_no_opening_quote, 0},
        {".5", parse_no_opening_quote, 0},
        {"\xB2", parse_no_opening_quote, 0},
        {"-", parse_end_of_input, 1},
        {"-x", parse_bad_number, 1},
        {"1.", parse_end_of_input, 2},
        {"1.x", parse_bad_fraction, 2},
        {"1e", parse_end_of_input, 2},
        {"1ex", parse_bad_exponent, 2},
        {"\"abc", parse_end_of_input, 4},
        {R"("a\)", parse_end_of_input, 2},
        {R"("\q")", parse_bad_escape, 1},
        {"\"\\\xC3\"", parse_bad_escape, 1},
        {R"("\u12)", parse_end_of_input, 1},
        {R"("\u12")", parse_end_of_input, 1},
        {R"("\u12"xx)", parse_bad_unicode_escape, 1},
        {R"("ab\u12G4")", parse_bad_unicode_escape, 3},
        {"\"\\u12\xB2"
         "4\"",
         parse_bad_unicode_escape, 1},
        {R"("\uD83D")", parse_end_of_input, 1},
        {R"("\uD83Dabcdef")", parse_bad_unicode_escape, 1},
        {R"("\uD83D\n12345")", parse_bad_unicode_escape, 1},
        {R"("\uD83D\u12G4")", parse_bad_unicode_escape, 1},
        {"[", parse_end_of_input, 1},
        {"[1", parse_end_of_input, 2},
        {"[1,", parse_end_of_input, 3},
        {"[[1,2", parse_end_of_input, 5},
        {"[1,]", parse_no_opening_quote, 3},
        {"[,]", parse_no_opening_quote, 1},
        {"[1,,2]", parse_no_opening_quote, 3},
        {"[1 2]", parse_bad_array_separator, 3},
        {"[0123.5]", parse_bad_array_separator, 5},
        {"[1}", parse_bad_array_separator, 2},
        {"[[[x", parse_no_opening_quote, 3},
        {"{", parse_end_of_input, 1},
        {R"({"a")", parse_end_of_input, 4},
        {R"({"a":)", parse_end_of_input, 5},
        {R"({"a":1)", parse_end_of_input, 6},
        {R"({"a":1,)", parse_end_of_input, 7},
        {R"({"a":1,})", parse_no_opening_quote, 7},
        {"{,}", parse_no_opening_quote, 1},
        {"{1:2}", parse_no_opening_quote, 1},
        {R"({"a" 1})", parse_no_colon, 5},
        {R"({"a":1 "b":2})", parse_bad_object_separator, 7},
        {R"({"a":1])", parse_bad_object_separator, 6},
        {R"({"a":1,"a":tru})", parse_no_opening_quote, 11},
        {R"({"\q":1})", parse_bad_escape, 2},
        {R"({"a":[1,]})", parse_no_opening_quote, 8},
    };
    for (const Failure& row : rows)
        for (const bool allow_comments : {false, true})
            expect_failure(row, allow_comments);
}

TEST(ParseValue, TakesCommentsWhereWhitespaceMayStand) {
    const Value one_two = array({number(1), number(2)});
    const Success accepted[] = {
        {"[/**/1/* a */,// b\n2/***/]", 26, one_two},
        {"[1,/* /* */2]//", 13, one_two},
        {std::string("[1/*\0\xFF*/,2]", 11), 11, one_two},
    };
    for (const Success& row : accepted)
        expect_success(row, true);

    const Failure refused[] = {
        {"/**/1", parse_no_opening_quote, 0},
        {"[1,/x", parse_no_opening_quote, 3},
        {"[1 /x", parse_bad_array_separator, 3},
        {R"({"a" /x)", parse_no_colon, 5},
        {R"({"a":1 /)", parse_bad_object_separator, 7},
        {"[1/*", parse_end_of_input, 4},
        {"[1/*/]", parse_end_of_input, 6},
        {"[1//]", parse_end_of_input, 5},
    };
    for (const Failure& row : refused)
        expect_failure(row, true);
    expect_failure({"[/**/1]", parse_no_opening_quote, 1}, false);
}

TEST(ParseValue, CutAnywhereATextFailsWithinItsBounds) {
    for (const Success& row : well_formed()) {
        if (row.text[0] == '-' || is_digit(row.text[0]))
            continue; // the beginning of a number is often one itself
        for (std::ptrdiff_t length = 0; length < row.stop; ++length) {
            const std::string cut = row.text.substr(0, static_cast<std::size_t>(length));
            SCOPED_TRACE("text " + cut);
            const Reading reading = read(cut, false);
            EXPECT_TRUE(reading.code == parse_end_of_input ||
                        (reading.code == parse_no_opening_quote && reading.stop < length))
                << reading.code;
            EXPECT_LE(reading.stop, length);
            EXPECT_EQ(reading.out, untouched);
        }
    }
}

TEST(ParseValue, BoundsTheNestingButNotTheLength) {
    const struct {
        const char* open;
        const char* inner;
        const char* close;
    } ways[] = {{"[", "", "]"}, {R"({"":)", "{}", "}"}, {R"([{"a":)", "1", "}]"}};
    for (const auto& [open, inner, close] : ways)
        for (const bool allow_comments : {false, true}) {
            const std::string begin = open;
            const int levels = begin[0] == '[' && begin.size() > 1 ? 2 : 1; // per repetition
            const int inner_levels = inner[0] == '{' ? 1 : 0;
            const int most = (max_nesting_depth - inner_levels) / levels;
            const std::string deepest = repeated(most, begin) + inner + repeated(most, close);
            EXPECT_EQ(read(deepest, allow_comments).code, parse_ok) << open;
            const std::string too_deep = std::string("[").append(deepest).append("]");
            const Reading reading = read(too_deep, allow_comments);
            EXPECT_EQ(reading.code, parse_nesting_too_deep) << open;
            // Behind the last bracket that opens.
            EXPECT_EQ(reading.stop, too_deep.find_last_of("[{") + 1) << open;
            EXPECT_EQ(reading.out, untouched);
        }
    const int many = 100000;
    EXPECT_EQ(read(std::string("[").append(repeated(many, "[],")).append("{}]"), false).code, parse_ok);
    EXPECT_EQ(read(repeated(many, "["), false).code, parse_nesting_too_deep);
    EXPECT_EQ(read(repeated(many, "["), false).stop, max_nesting_depth + 1);
}

TEST(ScanNumber, StopsAtTheFirstByteThatDoesNotBelong) {
    const Failure rows[] = {
        {"", parse_end_of_input, 0},
        {"0", parse_ok, 1},
        {"-0", parse_ok, 2},
        {"007", parse_ok, 3},
        {"0.5", parse_ok, 3},
        {"1.25e+3", parse_ok, 7},
        {"1E5", parse_ok, 3},
        {"0e5", parse_ok, 3},
        {"00.5", parse_ok, 2},
        {"0123.5", parse_ok, 4},
        {"1.5.5", parse_ok, 3},
        {"12abc", parse_ok, 2},
        {"1e5x", parse_ok, 3},
        {"-", parse_end_of_input, 1},
        {"1e-", parse_end_of_input, 3},
        {"+1", parse_bad_number, 0},
        {"-.5", parse_bad_number, 1},
        {"0.x", parse_bad_fraction, 2},
        {"1e+x", parse_bad_exponent, 3},
    };
    for (const auto& [text, code, stop] : rows) {
        auto pos = text.begin();
        EXPECT_EQ(scan_number(pos, text.end()), code) << text;
        EXPECT_EQ(pos - text.begin(), stop) << text;
    }
}

// What the choice between the alternatives hides.
TEST(Literals, TellACutWordFromAWrongOne) {
    const Failure booleans[] = {
        {"", parse_end_of_input, 0},     {"tru", parse_end_of_input, 0},
        {"fals", parse_end_of_input, 0}, {"x", parse_bad_boolean, 0},
        {"tx", parse_bad_boolean, 0},    {"falsx", parse_bad_boolean, 0},
        {"falx", parse_bad_boolean, 0},  {"falsey", parse_ok, 5},
    };
    for (const auto& [text, code, stop] : booleans) {
        Value out;
        auto pos = text.begin();
        EXPECT_EQ(parse_boolean(out, pos, text.end(), false), code) << text;
        EXPECT_EQ(pos - text.begin(), stop) << text;
        EXPECT_EQ(out, code == parse_ok ? Value(false) : Value()) << text;
    }
    const Failure nulls[] = {
        {"", parse_end_of_input, 0}, {"nul", parse_end_of_input, 0}, {"nx", parse_bad_null, 0},
        {"Null", parse_bad_null, 0}, {"nulx", parse_bad_null, 0},    {"nullx", parse_ok, 4},
    };
    for (const auto& [text, code, stop] : nulls) {
        auto pos = text.begin();
        EXPECT_EQ(match_literal(pos, text.end(), "null", parse_bad_null), code) << text;
        EXPECT_EQ(pos - text.begin(), stop) << text;
    }
}

TEST(Containers, RefuseAnotherOpeningAndReplaceWhatTheOutputHeld) {
    const std::string text = "{}[]x";
    ValueMap members;
    members.emplace("old", true);
    ValueVector elements(1);
    auto pos = text.begin();
    EXPECT_EQ(parse_array_elements(elements, pos, text.end(), false), parse_no_array_open);
    EXPECT_EQ(elements.size(), 1U);
    EXPECT_EQ(parse_object_members(members, pos, text.end(), false), parse_ok);
    EXPECT_TRUE(members.empty());
    EXPECT_EQ(parse_object_members(members, pos, text.end(), false), parse_no_object_open);
    EXPECT_EQ(parse_array_elements(elements, pos, text.end(), false), parse_ok);
    EXPECT_TRUE(elements.empty());
    EXPECT_EQ(pos - text.begin(), 4);
}

TEST(ReadStringElement, ReadsOneByteOrOneEscapeAtATime) {
    const std::string text = R"(a\n\")";
    std::string element;
    auto pos = text.begin();
    EXPECT_EQ(read_string_element(element, pos, text.end()), parse_ok);
    EXPECT_EQ(read_string_element(element, pos, text.end()), parse_ok);
    EXPECT_EQ(element, "a\n");
    EXPECT_EQ(pos - text.begin(), 3);
    ++pos;
    EXPECT_EQ(read_string_element(element, pos, text.end()), parse_string_end);
    EXPECT_EQ(*pos, '"');
}

TEST(SkipWhitespace, StopsAtTheFirstByteThatItDoesNotSkip) {
    const struct {
        const char* text;
        std::ptrdiff_t plain;
        std::ptrdiff_t with_comments;
    } rows[] = {
        {"", 0, 0},           {" \t\n\v\f\r", 6, 6},
        {" \x85", 1, 1},      {"// x", 0, 4},
        {"/* a */", 0, 7},    {"  /* a */ // b\n7", 2, 15},
        {"/* a", 0, 4},       {"/**/7", 0, 4},
        {"/***/7", 0, 5},     {"/*/7", 0, 4},
        {"/* /* */7", 0, 8},  {"/", 0, 0},
        {"  /7", 2, 2},       {"/* a */ /7", 0, 8},
        {"// a\r7\n7", 0, 7}, {"/*/**/ //*/\n", 0, 12},
    };
    for (const auto& row : rows) {
        const std::string text = row.text;
        for (const bool allow_comments : {false, true}) {
            auto pos = text.begin();
            skip_whitespace(pos, text.end(), allow_comments);
            EXPECT_EQ(pos - text.begin(), allow_comments ? row.with_comments : row.plain) << text;
        }
    }
}

TEST(Describe, HasASentenceOfItsOwnForEveryCode) {
    std::set<std::string> sentences;
    for (parse_result code = parse_ok; code <= parse_nesting_too_deep; ++code)
        sentences.insert(describe(code));
    // 0 to 21 without the four that are not assigned, and one sentence for all that are no code.
    EXPECT_EQ(sentences.size(), 22U - 4 + 1);
    EXPECT_EQ(describe(-1), describe(9));
}

} // namespace
