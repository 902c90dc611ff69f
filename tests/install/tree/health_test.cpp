// What is found in damaged trees.

#include "install/tree/health.hpp"

#include "install/tree/printable_text.hpp"
#include "support/table.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

namespace {

using namespace install::tree;
using namespace test;

TEST(Health, IsAsTheTableSays) {
    for (const auto& row : test::read_table("health.tsv")) {
        SCOPED_TRACE(row[1]);
        const TemporaryDirectory tree;
        for (const char* const name : {"A 1 hostpf.xml", "A 1 en.xml", "deep/x.xml"})
            tree.write(products + name, "<a/>");
        tree.write(products + "B 1 en.xml", "");
        if (row[0] != "-")
            tree.write(installed_record, row[0]);
        tree.write(contents_map, row[1]);
        const Health health = inspect(tree.upath());
        std::vector<std::string> found;
        const auto add = [&](const std::string& mark, const std::vector<Fault>& faults) {
            for (const Fault& fault : faults)
                found.push_back(mark + name_of(fault.kind) + '|' +
                                fault.path.substr(tree.path("appdata/").string().size()) + '|' +
                                fault.text);
        };
        add("", health.problems);
        add("note|", health.notes);
        const std::vector<std::string> expected(row.begin() + 2, row.end());
        ASSERT_EQ(found.size(), expected.size()) << testing::PrintToString(found);
        for (std::size_t index = 0; index < found.size(); ++index) {
            const auto text = expected[index].rfind('|') + 1;
            EXPECT_EQ(found[index].substr(0, text), expected[index].substr(0, text));
            EXPECT_NE(found[index].find(expected[index].substr(text), text), std::string::npos)
                << found[index];
        }
    }
}

TEST(PrintableText, HasNothingThatATerminalObeys) {
    // The least and the greatest characters of each length, and what is next to a control
    // character.
    for (const std::string whole :
         {"a\\~\u00E4\u20AC\U0001F600", "\u00A0\u07FF\u0800\uFFFD\U00010000\U0010FFFF",
          "\u2027\u202F\u2065\u206A\u200D\u061B"})
        EXPECT_EQ(printable_text(whole), whole);
    EXPECT_EQ(printable_text("\x1b[0m\n\x1F \x7F\u0080\u009F\u202E\u2028\u2069\u200E\u061C"),
              "\\x1b[0m\\x0a\\x1f \\x7f\\u{80}\\u{9f}\\u{202e}\\u{2028}\\u{2069}\\u{200e}\\u{61c}");
    // Not UTF-8: truncated, longer than need be, half a pair, beyond the last character.
    EXPECT_EQ(printable_text("\xFF\xC3(\xC0\x80\xE0\x9F\xBF\xED\xA0\x80\xF4\x90\x80\x80\xE2\x82"),
              "\\xff\\xc3(\\xc0\\x80\\xe0\\x9f\\xbf\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80\\xe2\\x82");
}

} // namespace
