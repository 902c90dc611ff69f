#include "foundation/json/detail/parser.hpp"

#include "foundation/json/serialize.hpp"
#include "support/failing_allocation.hpp"
#include "support/table.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include <pthread.h>

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

// `behind` stands behind the end, where the reader must not look.
Reading read(const std::string& text, bool allow_comments, const std::string& operation = "value",
             const std::string& behind = "") {
    Reading reading;
    const std::string all = text + behind;
    auto pos = all.begin();
    const auto end = pos + static_cast<std::ptrdiff_t>(text.size());
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
    else if (std::string element; operation == "string_element") {
        reading.code = read_string_element(element, pos, end);
        reading.out = reading.code == parse_ok ? Value(element) : reading.out;
    } else if (operation == "whitespace")
        skip_whitespace(pos, end, allow_comments);
    else
        ADD_FAILURE() << "unknown operation " << operation;
    reading.stop = pos - all.begin();
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

// Every beginning of every text, with bytes behind that could go on with it.
TEST(Reader, DoesNotLookBehindTheEnd) {
    for (const auto& row : test::read_table("reader.tsv"))
        for (std::size_t length = 0; length <= row[4].size(); ++length) {
            const std::string cut = row[4].substr(0, length);
            SCOPED_TRACE(row[0] + " " + cut);
            const Reading expected = read(cut, true, row[0]);
            EXPECT_LE(expected.stop, length);
            for (const std::string& behind :
                 {row[4].substr(length), std::string("0"), std::string(" "), std::string("e1"),
                  std::string(".5"), std::string("\""), std::string("]"), std::string("*/")}) {
                const Reading reading = read(cut, true, row[0], behind);
                EXPECT_EQ(reading.code, expected.code);
                EXPECT_EQ(reading.stop, expected.stop);
                EXPECT_EQ(reading.out, expected.out);
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

// Reads a document at the limit, and copies, assigns, writes and destroys it.
void* handle_deepest_document(void* /*unused*/) {
    const std::string half = repeated(max_nesting_depth / 2, R"([{"k":)");
    const std::string text = half + "1" + repeated(max_nesting_depth / 2, "}]");
    const Reading reading = read(text, true);
    EXPECT_EQ(reading.code, parse_ok);
    Value copy = reading.out;
    copy = Value(ValueVector(1));
    copy = reading.out;
    EXPECT_EQ(serialize(copy), text);
    EXPECT_EQ(read(half + "[", false).code, parse_nesting_too_deep);
    return nullptr;
}

TEST(Reader, NeedsHalfAMebibyteOfStackAtMost) {
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    constexpr std::size_t stack_size = std::size_t(512) * 1024;
#else
    constexpr std::size_t stack_size = std::size_t(8192) * 1024; // frames are larger in such builds
#endif
    pthread_attr_t attributes;
    pthread_t thread;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stack_size), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, handle_deepest_document, nullptr), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

int allocations(const std::string& text, bool allow_comments) {
    const test::FailingAllocation none(0);
    Value out;
    auto pos = text.begin();
    EXPECT_EQ(parse_value(out, pos, text.end(), allow_comments), parse_ok) << text;
    return none.count();
}

// A long text and a long number are one allocation each; an array or object is one for its holder,
// and one each time that it grows.
TEST(ReaderMemory, IsTakenForContentAlone) {
    const std::string digits(40, '1');
    const struct {
        std::string text;
        int count;
    } rows[] = {
        {"true", 0},
        {"null", 0},
        {"1.5", 0},
        {R"("short\n\u0041")", 0},
        {digits, 1},
        {"\"" + digits + "\"", 1},
        {"[]", 1},
        {"[ \n\t true \r ]", 2},
        {"{ }", 1},
        {R"({ "a" : false , "b" : [ ] })", 4},
        {"[//" + digits + "\n/*" + digits + "*/true/**/]//", 2},
        {"{\"kxtype\":\"int8\",\"kxdata\":[" + digits + " ]}", 5},
        {"{\"kxdata\":[1,2],\"kxtype\":\"int8\"}", 5}, // none for reading the data again
    };
    for (const auto& [text, count] : rows)
        EXPECT_EQ(allocations(text, true), count) << text;
}

TEST(ReaderMemory, CanBeExhaustedAtAnyPlace) {
    const std::string text =
        R"({"a key that is long enough for the heap":["and a text that is, too",1.5,{"k":[null]}],)"
        R"("n":11111111111111111111111111111,"kxdata":[1,2,3],"kxtype":"int8",)"
        R"("typed":{"kxtype":"uint64","kxdata":[18446744073709551615,0]},"":{}})";
    int typed_failures = 0;
    const int failures = test::fail_each_allocation(
        [] { return Reading(); }, [&](Reading& reading) { reading = read(text, false); },
        [&](const Reading& reading) {
            // An exception leaves the code as it was; reading a payload has code 19 instead.
            EXPECT_TRUE(reading.code == parse_ok || reading.code == parse_end_of_input);
            EXPECT_EQ(test::dump(reading.out), untouched);
            typed_failures += reading.code == parse_end_of_input ? 1 : 0;
        });
    EXPECT_GT(failures, 20);
    EXPECT_GT(typed_failures, 2);
    EXPECT_LT(typed_failures, failures / 2);
}

// The only way in which reading the data again takes memory: the entry is that of a former kxdata.
TEST(ReaderMemory, ThatIsExhaustedWhileDataIsReadAgainLeavesItUndefined) {
    const std::string text = R"({"kxdata":0,"kxdata":[1],"kxtype":"int8"})";
    int undefined = 0;
    test::fail_each_allocation([] { return Reading(); },
                               [&](Reading& reading) {
                                   reading.out = Value();
                                   auto pos = text.begin();
                                   reading.code = parse_value(reading.out, pos, text.end(), false);
                               },
                               [&](const Reading& reading) {
                                   if (reading.out.get_if<ValueMap>() == nullptr)
                                       return;
                                   EXPECT_EQ(test::dump(reading.out),
                                             R"({"kxdata":undefined,"kxtype":"int8"})");
                                   ++undefined;
                               });
    EXPECT_EQ(undefined, 2);
}

// Samples with what they are read as, or their fault; with what is written of them; and all codes.
TEST(Dialect, IsAsItsPageTells) {
    std::ostringstream header;
    header << std::ifstream(KX_DOCS "/../include/foundation/json/detail/parse_value.hpp").rdbuf();
    std::set<parse_result> listed;
    for (auto& row : test::read_markdown(KX_DOCS "/json-dialect.md")) {
        SCOPED_TRACE(row["Text"]);
        const std::string operation = row.contains("Operation") ? row["Operation"] : "parse_value";
        const Reading reading = read(row["Text"], row["Comments"] == "allowed",
                                     operation.substr(operation.find('_') + 1));
        if (row.contains("Written")) {
            EXPECT_EQ(serialize(reading.out), row["Written"]);
            continue;
        }
        EXPECT_EQ(std::to_string(reading.code), row["Code"]);
        EXPECT_EQ(std::to_string(reading.stop), row["Offset"]);
        if (row.contains("Value")) {
            EXPECT_EQ(reading.code == parse_ok ? test::dump(reading.out) : "", row["Value"]);
        } else {
            EXPECT_EQ(describe(reading.code), row["Sentence"]);
            const std::string enumerator = " " + row["Name"] + " = " + row["Code"] + ",";
            EXPECT_NE(header.str().find(enumerator), std::string::npos) << enumerator;
            listed.insert(reading.code);
        }
    }
    for (parse_result code = -1; code < 100; ++code)
        EXPECT_EQ(listed.contains(code), std::string(describe(code)) != describe(-1)) << code;
}

} // namespace
