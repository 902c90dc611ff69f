#include "foundation/json/detail/parser.hpp"

#include "support/table.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>

namespace {

using namespace foundation::json;
using namespace foundation::json::detail;

const std::string untouched = "\"untouched\"";

// What became of a text: code, stopping place as an offset, and the output, which holds a string of
// its own before.
struct Reading {
    parse_result code = parse_ok;
    std::ptrdiff_t stop = 0;
    Value out = Value(std::string("untouched"));
};

Reading read(const std::string& text, bool allow_comments, const std::string& operation = "value") {
    Reading reading;
    auto pos = text.begin();
    const auto end = text.end();
    if (operation == "value")
        reading.code = parse_value(reading.out, pos, end, allow_comments);
    else if (operation == "scan_number")
        reading.code = scan_number(pos, end);
    else if (operation == "boolean")
        reading.code = parse_boolean(reading.out, pos, end, allow_comments);
    else if (operation == "null")
        reading.code = parse_null(reading.out, pos, end, allow_comments);
    else if (operation == "array")
        reading.code = parse_array(reading.out, pos, end, allow_comments);
    else if (operation == "object")
        reading.code = parse_object(reading.out, pos, end, allow_comments);
    else if (operation == "whitespace")
        skip_whitespace(pos, end, allow_comments);
    else
        ADD_FAILURE() << "unknown operation " << operation;
    reading.stop = pos - text.begin();
    return reading;
}

TEST(Reader, ReadsOrTellsTheFaultAsTheTableSays) {
    for (const auto& row : test::read_table("reader.tsv"))
        for (const bool allow_comments : {false, true}) {
            if (row[1] == (allow_comments ? "plain" : "comments"))
                continue;
            SCOPED_TRACE(row[0] + (allow_comments ? " with comments " : " ") + row[4]);
            const Reading reading = read(row[4], allow_comments, row[0]);
            EXPECT_EQ(reading.code, std::stoi(row[2]));
            EXPECT_EQ(reading.stop, std::stoi(row[3]));
            EXPECT_EQ(test::dump(reading.out), row.size() > 5 ? row[5] : untouched);
        }
}

TEST(Reader, CutAnywhereATextFailsWithinItsBounds) {
    for (const auto& row : test::read_table("reader.tsv")) {
        if (row[0] != "value" || row[1] != "both" || row[2] != "0" || row[4][0] == '-' ||
            is_digit(row[4][0]))
            continue; // the beginning of a number is often one itself
        for (std::ptrdiff_t length = 0; length < std::stoi(row[3]); ++length) {
            const std::string cut = row[4].substr(0, static_cast<std::size_t>(length));
            SCOPED_TRACE(cut);
            const Reading reading = read(cut, false);
            EXPECT_TRUE(reading.code == parse_end_of_input ||
                        (reading.code == parse_no_opening_quote && reading.stop < length));
            EXPECT_LE(reading.stop, length);
            EXPECT_EQ(test::dump(reading.out), untouched);
        }
    }
}

std::string repeated(int count, const std::string& text) {
    std::string result;
    for (int index = 0; index < count; ++index)
        result += text;
    return result;
}

TEST(Reader, BoundsTheNestingButNotTheLength) {
    const struct {
        std::string open; // two levels
        std::string close;
    } ways[] = {{"[[", "]]"}, {R"({"":{"":)", "}}"}, {R"([{"a":)", "}]"}, {R"({"a":[)", "]}"}};
    for (const auto& [open, close] : ways)
        for (const bool allow_comments : {false, true}) {
            const int half = max_nesting_depth / 2;
            const std::string opened = repeated(half, open);
            const std::string closed = repeated(half, close);
            EXPECT_EQ(read(opened + "1" + closed, allow_comments).code, parse_ok) << open;
            for (const char* one_more : {"[]", "{}"}) {
                const Reading reading = read(opened + one_more + closed, allow_comments);
                EXPECT_EQ(reading.code, parse_nesting_too_deep) << open;
                EXPECT_EQ(reading.stop, opened.size() + 1) << open;
                EXPECT_EQ(test::dump(reading.out), untouched);
            }
        }
    const int many = 100000;
    EXPECT_EQ(read(std::string("[").append(repeated(many, "[],")).append("{}]"), false).code,
              parse_ok);
    EXPECT_EQ(read(repeated(many, "["), false).stop, max_nesting_depth + 1);
}

TEST(Containers, ReplaceWhatTheOutputHeldOnSuccessOnly) {
    const std::string text = "{}[]x";
    ValueMap members;
    members.emplace("old", true);
    ValueVector elements(1);
    auto pos = text.begin();
    EXPECT_EQ(parse_array_elements(elements, pos, text.end(), false), parse_no_array_open);
    EXPECT_EQ(elements.size(), 1U);
    EXPECT_EQ(parse_object_members(members, pos, text.end(), false), parse_ok);
    EXPECT_TRUE(members.empty());
    EXPECT_EQ(parse_array_elements(elements, pos, text.end(), false), parse_ok);
    EXPECT_TRUE(elements.empty());
}

TEST(ReadStringElement, ReadsOneByteOrOneEscapeAtATime) {
    const std::string text = R"(a\n")";
    std::string read;
    auto pos = text.begin();
    EXPECT_EQ(read_string_element(read, pos, text.end()), parse_ok);
    EXPECT_EQ(read_string_element(read, pos, text.end()), parse_ok);
    EXPECT_EQ(read_string_element(read, pos, text.end()), parse_string_end);
    EXPECT_EQ(read, "a\n");
    EXPECT_EQ(*pos, '"');
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
