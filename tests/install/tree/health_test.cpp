// What is found in damaged trees, and what a repair makes of them.

#include "install/tree/health.hpp"

#include "install/product_impl/utils/json_file.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/repair.hpp"
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

TEST(Health, FindsWhatIsNoRegularFileAndWhatWasInterrupted) {
    const TemporaryDirectory tree;
    std::filesystem::create_directories(tree.path(contents_map));
    std::filesystem::create_directories(tree.path(products));
    std::filesystem::create_symlink("/etc/passwd", tree.path(products + "link 1 en.xml"));
    tree.write("appdata/.staging/x", "");
    tree.write("appdata/.commit/x", "");
    EXPECT_EQ(test::kinds_of(inspect(tree.upath()).problems),
              "interrupted interrupted missing not_regular not_regular ");
    EXPECT_THROW(static_cast<void>(inspect(u"/nowhere")), tree_error);
    EXPECT_THROW(repair(tree.upath()), tree_error);
}

TEST(PrintableText, HasNothingThatATerminalObeys) {
    // The least and the greatest characters of each length, and what is next to a control
    // character.
    for (const std::string whole :
         {"a\\~\u00E4\u20AC\U0001F600", "\u00A0\u07FF\u0800\uFFFD\U00010000\U0010FFFF",
          "\u2027\u202F\u2065\u206A\u200D\u061B"})
        EXPECT_EQ(printable(whole), whole);
    EXPECT_EQ(printable("\x1b[0m\n\x1F \x7F\u0080\u009F\u202E\u2028\u2069\u200E\u061C"),
              "\\x1b[0m\\x0a\\x1f \\x7f\\u{80}\\u{9f}\\u{202e}\\u{2028}\\u{2069}\\u{200e}\\u{61c}");
    // Not UTF-8: truncated, longer than need be, half a pair, beyond the last character.
    EXPECT_EQ(printable("\xFF\xC3(\xC0\x80\xE0\x9F\xBF\xED\xA0\x80\xF4\x90\x80\x80\xE2\x82"),
              "\\xff\\xc3(\\xc0\\x80\\xe0\\x9f\\xbf\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80\\xe2\\x82");
}

// A tree of several products, whose two files have an older version.
class Repaired : public testing::Test {
protected:
    Repaired() {
        for (const char letter : {'A', 'B', 'C'})
            for (const char* const tag : {"en", "hostpf"})
                tree_.write(products + letter + " 1 " + tag + ".xml", "<a/>");
        tree_.write(contents_map, map_);
        tree_.write(installed_record, record_);
        tree_.write(installed_record + ".old", R"({"A":1,"B":2,"C":0})");
    }

    static std::string entry(const std::string& letter) {
        return '"' + letter + " 1 hostpf\":[\"/appdata/products/" + letter +
               " 1 hostpf.xml\",\"/appdata/products/" + letter + " 1 en.xml\"]";
    }

    TemporaryDirectory tree_;
    std::string map_ = "{" + entry("A") + "," + entry("B") + "," + entry("C") + "}";
    std::string record_ = R"({"A":10,"B":20,"C":30})";
};

TEST_F(Repaired, FromAFileTruncatedAtAnyByte) {
    for (std::size_t size = 0; size < map_.size(); ++size) {
        SCOPED_TRACE(size);
        tree_.write(contents_map, map_.substr(0, size));
        EXPECT_FALSE(repair(tree_.upath()).empty());
        EXPECT_EQ(tree_.content(contents_map), map_.substr(0, size));
        EXPECT_FALSE(repair(tree_.upath(), RepairMode::apply).empty());
        EXPECT_EQ(tree_.content(contents_map), map_);
        EXPECT_EQ(tree_.content(contents_map + ".damaged"), map_.substr(0, size));
        EXPECT_TRUE(repair(tree_.upath()).empty());
    }
    for (std::size_t size = 0; size < record_.size(); ++size) {
        SCOPED_TRACE(size);
        tree_.write(installed_record, record_.substr(0, size));
        repair(tree_.upath(), RepairMode::apply);
        EXPECT_EQ(tree_.content(installed_record), size < 8    ? R"({"A":1,"B":2,"C":0})"
                                                   : size < 15 ? R"({"A":10,"B":2,"C":0})"
                                                               : R"({"A":10,"B":20,"C":0})");
    }
}

TEST_F(Repaired, WithWhatIsLeft) {
    const std::string typed = R"("kxdata":[18446744073709551615],"kxtype":"uint64")";
    const std::pair<std::string, std::string> texts[] = {
        {"\xEF\xBB\xBF" + map_, map_},
        {" \n" + map_, map_},
        {"\xEF\xBB\xBF\t\r\n" + map_ + " ", map_},
        {"{" + entry("A") + " , " + entry("B") + ",\n" + entry("C") + ",}", map_},
        {"{" + typed + ",\"x",
         "{" + entry("A") + "," + entry("B") + "," + entry("C") + "," + typed + "}"},
        {"{\"B 1 hostpf\":4,\"B 1 hostpf\":5,",
         "{" + entry("A") + R"(,"B 1 hostpf":4,)" + entry("C") + "}"},
        {"{" + entry("A") + "}", map_}, // not damaged, but documents are not listed
    };
    for (const auto& [damaged, expected] : texts) {
        SCOPED_TRACE(damaged);
        tree_.write(contents_map, damaged);
        repair(tree_.upath(), RepairMode::apply);
        EXPECT_EQ(tree_.content(contents_map), expected);
    }
}

// The last good version knows what the names of documents do not say: order, and tags with spaces.
TEST_F(Repaired, FromTheLastGoodVersionRatherThanFromDocuments) {
    tree_.write(products + "D 1 a tag.xml", "<d/>");
    tree_.write(products + "other.txt", "foreign");
    const std::string good = R"({"D 1 hostpf":["appdata/products/D 1 a tag.xml"],)"
                             R"("E 1 hostpf":["appdata/products/E 1 en.xml"],"F 1 hostpf":[]})";
    tree_.write(contents_map + ".old", good);
    std::filesystem::remove(tree_.path(contents_map));
    std::filesystem::remove(tree_.path(installed_record));
    repair(tree_.upath(), RepairMode::apply);
    const auto members =
        install::product_impl::utils::getJsonObjFromFile(tree_.upath(contents_map));
    EXPECT_EQ(members.size(), 5U);
    EXPECT_TRUE(members.contains("D 1 hostpf"));
    EXPECT_TRUE(members.contains("F 1 hostpf"));
    EXPECT_EQ(tree_.content(installed_record), R"({"A":1,"B":2,"C":0})");
    EXPECT_FALSE(tree_.files().contains(contents_map + ".damaged"));
}

} // namespace
