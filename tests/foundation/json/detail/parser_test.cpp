#include "foundation/json/detail/parser.hpp"

#include "fl/export.hpp"
#include "support/failing_allocation.hpp"
#include "support/reading.hpp"
#include "support/table.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

// The linker makes calls of u16_to_u8 reach another_text_of, and text_of reach u16_to_u8.
using TextOfUnits = std::string(const char16_t*, int);
KX_EXPORT TextOfUnits text_of __asm__("__real__ZN10foundation4json6detail9u16_to_u8B5cxx11EPKDsi");
TextOfUnits another_text_of __asm__("__wrap__ZN10foundation4json6detail9u16_to_u8B5cxx11EPKDsi");
static const char* another_text = nullptr;
std::string another_text_of(const char16_t* units, int count) {
    return another_text != nullptr ? another_text : text_of(units, count);
}

namespace {

using namespace foundation::json;
using namespace foundation::json::detail;
using test::read;
using test::read_by;
using test::Reading;

const std::string untouched = "\"untouched\"";

using Operation = std::function<parse_result(Value&, Iterator&, const Iterator&, bool)>;

// The operations that a row of the table can name.
const std::map<std::string, Operation> operations = {
    {"value", [](auto&&... arguments) { return parse_value(arguments...); }},
    {"boolean", parse_boolean},
    {"null", parse_null},
    {"array", [](auto&&... arguments) { return parse_array(arguments...); }},
    {"object", [](auto&&... arguments) { return parse_object(arguments...); }},
    {"scan_number", [](auto&&, auto& pos, auto& end, bool) { return scan_number(pos, end); }},
    {"string_element",
     [](Value& out, auto& pos, auto& end, bool) {
         std::string element;
         const parse_result result = read_string_element(element, pos, end);
         out = result == parse_ok ? Value(element) : out;
         return result;
     }},
};

TEST(Reader, ReadsOrReportsTheFaultAsTheTableSays) {
    for (const auto& row : test::read_table("reader.tsv"))
        for (const bool allow_comments : {false, true}) {
            if (row[1] == (allow_comments ? "plain" : "comments"))
                continue;
            SCOPED_TRACE(row[0] + (allow_comments ? " with comments " : " ") + row[4]);
            const Reading reading = read_by(operations.at(row[0]), row[4], allow_comments);
            EXPECT_EQ(reading.code, std::stoi(row[2]));
            EXPECT_EQ(reading.stop, std::stoi(row[3]));
            EXPECT_EQ(test::dump(reading.out), row.size() > 5 ? row[5] : untouched);
            EXPECT_NE(describe(reading.code), describe(-1)) << "no sentence";
        }
}

// Every prefix of every text, followed by bytes that could continue it.
TEST(Reader, DoesNotLookBeyondTheEnd) {
    for (const auto& row : test::read_table("reader.tsv"))
        for (std::size_t length = 0; length <= row[4].size(); ++length) {
            const std::string prefix = row[4].substr(0, length);
            const Operation& operation = operations.at(row[0]);
            const Reading expected = read_by(operation, prefix, true);
            EXPECT_LE(expected.stop, length);
            for (const std::string after : {"0", " ", "e1", ".5", "\"", "]", "*/"})
                EXPECT_EQ(read_by(operation, prefix, true, after), expected) << row[0] << prefix;
        }
}

std::string repeated(int count, const std::string& text) {
    std::string result;
    for (int index = 0; index < count; ++index)
        result += text;
    return result;
}

TEST(Reader, BoundsTheNestingButNotTheLength) {
    const int half = max_nesting_depth / 2;
    const std::map<std::string, std::string> shapes = {
        {"[[", "]]"},        {R"({"":{"":)", "}}"},    {R"([{"a":)", "}]"},
        {R"({"a":[)", "]}"}, {R"({"kxdata":[)", "]}"}, {R"({"kxtype":[)", "]}"}};
    for (const auto& [open, close] : shapes) {
        const std::string opened = repeated(half, open);
        EXPECT_EQ(read(opened + "1" + repeated(half, close), false).code, parse_ok) << open;
        for (const char* one_more : {"[]", "{}"}) {
            const Reading reading = read(opened + one_more, true);
            EXPECT_EQ(reading.code, parse_nesting_too_deep) << open;
            EXPECT_EQ(reading.stop, opened.size() + 1) << open;
        }
    }
    EXPECT_EQ(read("[" + repeated(100000, "[],") + "{}]", false).code, parse_ok);
}

// Brackets are the texts that take most memory for their length.
TEST(Reader, TakesMemoryInProportionToTheText) {
    for (const auto& [open, close] :
         {std::pair("[", "]"), {"[0,", "]"}, {"[{},", "]"}, {"{\"\":", "}"}}) {
        const std::string text =
            repeated(max_nesting_depth - 1, open) + "[]" + repeated(max_nesting_depth - 1, close);
        test::allocated_size = 0;
        EXPECT_EQ(read(text).code, parse_ok);
        EXPECT_LT(test::allocated_size / text.size(), 60U) << open;
    }
}

// The stand-in's text is never longer than the escapes that it stands for.
TEST(Reader, AppendsWhateverTheJsonServicesMakeOfUnpairedUnits) {
    for (const std::size_t length : {0U, 1U, 6U, 7U, 12U, 13U, 1000U}) {
        const std::string text(length, 'x');
        another_text = text.c_str();
        EXPECT_EQ(read(R"("a\uDC00\nb\uD83D\u0041\"\uDC00\uDC00c")").out,
                  Value("a" + text + "\nb" + text + '"' + text + text + 'c'));
        EXPECT_EQ(read_by(operations.at("string_element"), R"(\uDC00")", false).out, Value(text));
        another_text = nullptr;
    }
}

// A failure leaves the output alone. Reading a payload reports code 19 instead of throwing; reading
// one again takes no memory, as the value that it replaces would be lost.
TEST(Reader, SurvivesExhaustedMemoryAtAnyPlace) {
    std::map<std::string, int> outcomes;
    for (const char* text :
         {R"({"a key that is long enough for the heap":["and a text that is, too",1.5,)"
          R"({"k":[null]}],"n":11111111111111111111111111111,)"
          R"("typed":{"kxtype":"uint64","kxdata":[18446744073709551615,0]},"":{}})",
          R"({"kxdata":[1,2,3,4,5],"kxtype":"int8"})",
          R"({"kxdata":0,"kxdata":[1,2],"kxtype":"int8","kxdata":[3],"kxtype":"uint8"})"}) {
        const std::string whole = text;
        test::fail_each_allocation([] { return Reading(); },
                                   [&](Reading& reading) {
                                       auto pos = whole.begin();
                                       reading.code =
                                           parse_value(reading.out, pos, whole.end(), false);
                                   },
                                   [&](const Reading& reading) {
                                       const std::string out = test::dump(reading.out);
                                       ++outcomes[std::to_string(reading.code) + " " + out];
                                   });
    }
    EXPECT_EQ(outcomes.size(), 2U);
    EXPECT_GT(outcomes["0 " + untouched], 20); // thrown
    EXPECT_GT(outcomes["19 " + untouched], 2);
}

} // namespace
