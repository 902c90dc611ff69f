// What receipts say of a tree: basecodes, documents that were changed, and what a repair takes from
// them.

#include "install/tree/health.hpp"
#include "install/tree/repair.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

namespace {

using namespace install::tree;
using namespace test;
namespace fs = std::filesystem;

std::string basecodes(const InstallTree& tree) {
    std::string all;
    for (const auto& entry : tree.list().record)
        all += entry.basecode + ' ';
    return all;
}

std::string keys(const InstallTree& tree) {
    std::string all;
    for (const auto& entry : tree.list().contents)
        all += entry.key.substr(0, entry.key.size() - 7) + ','; // without " hostpf"
    return all;
}

TEST(Receipts, AreThoseOfTheLastWrite) {
    const TemporaryDirectory directory;
    InstallTree tree(directory.upath());
    tree.write({selection(u"A"), selection(u"B")});
    const std::string of_a =
        R"("A 1 hostpf":{"basecode":"A","documents":[)"
        R"("29114363f749a0226b6988dda3ca2492a954117ab6b5f382706c20300dabc079 4 )"
        R"(/appdata/products/A 1 hostpf.xml",)"
        R"("ea64cb0651c56c98b080f4eae10564b5360925b54da94fb8e4619c153160fffe 10 )"
        R"(/appdata/products/A 1 en.xml"],"locale":"en","name":"A",)"
        R"("platforms":["hostpf"],"time":NOW,"version":"1"})";
    const std::string of_b = std::regex_replace(std::regex_replace(of_a, std::regex("A 1"), "B 1"),
                                                std::regex("\"A\""), "\"B\"");
    EXPECT_EQ(files_of(directory).at(receipts), '{' + of_a + ',' + of_b + '}');
    const Receipt first = tree.list().receipts.at(0);
    EXPECT_EQ(first.time, tree.list().record.at(0).time);
    EXPECT_EQ(first.documents.at(1).size, 10U);
    std::string text = directory.content(installed_record); // as if B were written a day later
    text.replace(text.find("\"B\":") + 4, 2, "18");
    directory.write(installed_record, text);
    ASSERT_EQ(tree.list().receipts.size(), 1U);
    EXPECT_EQ(tree.list().receipts[0].key, "A 1 hostpf");
    // Without the entry in the record, or not such a member at all.
    directory.write(installed_record, "{}");
    EXPECT_EQ(tree.list().receipts.size(), 0U);
    directory.write(installed_record, R"({"A":5})");
    const std::string digest(64, 'a');
    for (const std::string& line : {digest + " 10 x", digest + " 10", digest + " x",
                                    digest + "10 x", digest + "a 10 x", digest.substr(1) + " 10 x",
                                    digest.substr(1) + "g 10 x", digest + " -1 x", digest + " "}) {
        directory.write(receipts, R"({"A 1 hostpf":{"basecode":"A","documents":[")" + line +
                                      R"("],"time":5},"x":[],"y":{"basecode":"A"}})");
        EXPECT_EQ(tree.list().receipts.size(),
                  line.ends_with("a 10 x") && line.size() == 69 ? 1U : 0U)
            << line;
    }
    // Those of earlier versions have no name; one of another form is none.
    for (const auto& [member, is_receipt] :
         std::map<std::string, bool>{{R"("name":"n","platforms":["p","q"],"version":"v")", true},
                                     {R"("name":5)", false},
                                     {R"("version":null)", false},
                                     {R"("locale":[])", false},
                                     {R"("platforms":"p")", false},
                                     {R"("platforms":["p",5])", false}}) {
        directory.write(receipts, R"({"A 1 hostpf":{"basecode":"A","documents":[],"time":5,)" +
                                      member + "}}");
        const auto found = tree.list().receipts;
        ASSERT_EQ(found.size(), is_receipt ? 1U : 0U) << member;
        for (const Receipt& receipt : found)
            EXPECT_EQ(receipt.name + receipt.version + receipt.platforms.at(1), "nvq");
    }
}

// A basecode is that of the receipt, unless another product has it, or the product was written
// since.
TEST(Receipts, KnowTheBasecodesOfWhatIsRemoved) {
    const TemporaryDirectory directory;
    InstallTree tree(directory.upath());
    const install::ustring common = u"common";
    tree.write({selection(u"A"), selection(u"B"), selection(u"C", u"c", &common),
                selection(u"D", u"d", &common)});
    PreparedChange change = tree.prepare({{{"A 1 hostpf", {}}, {"C 1 hostpf", {}}}, {}});
    EXPECT_EQ(change.removed().at(0).basecode, "A");
    EXPECT_EQ(change.removed().at(1).basecode, std::nullopt);
    change.commit();
    change.commit(); // which does nothing
    EXPECT_TRUE(change.steps().empty() && change.removed().empty());
    EXPECT_EQ(basecodes(tree), "B common ");
    directory.write(receipts, "{"); // what is there, the last good version knows
    tree.remove({{"D 1 hostpf", {}}});
    EXPECT_EQ(basecodes(tree), "B ");
    tree.write({selection(u"C", u"c", &common), selection(u"D", u"d", &common)});
    tree.apply({{{"C 1 hostpf", {}}, {"D 1 hostpf", {}}}, {selection(u"E", u"e", &common)}});
    EXPECT_EQ(keys(tree) + basecodes(tree), "B 1,E 1,B common ");
    directory.write(installed_record, R"({"B":5,"common":6})");
    tree.remove({{"B 1 hostpf", {}}});
    EXPECT_EQ(basecodes(tree), "B common ");
    tree.write({selection(u"F")});
    tree.remove({{"F 1 hostpf", "B"}}); // as it is given
    EXPECT_EQ(basecodes(tree), "F common ");
}

// A change goes on with what is whole of them, and leaves alone what is no file.
TEST(Receipts, NeverStandInTheWayOfAChange) {
    for (const std::string text : {"", "[1]", "{", "{\"x\":[],", "{\"x\":[],}"}) {
        SCOPED_TRACE(text);
        const TemporaryDirectory directory;
        InstallTree tree(directory.upath());
        directory.write(receipts, text);
        directory.write(receipts + ".damaged", "an earlier one");
        tree.write({selection(u"A")});
        EXPECT_EQ(tree.list().receipts.size(), 1U);
        EXPECT_EQ(directory.content(receipts).ends_with(",\"x\":[]}"), text.size() > 4);
        EXPECT_EQ(directory.content(receipts + ".damaged"), "an earlier one");
        EXPECT_EQ(directory.content(receipts + ".damaged.1"), text);
    }
    for (const bool is_link : {true, false}) {
        const TemporaryDirectory directory;
        InstallTree tree(directory.upath());
        fs::create_directories(directory.path(is_link ? "appdata" : receipts));
        if (is_link)
            fs::create_symlink("elsewhere", directory.path(receipts));
        tree.write({selection(u"A")});
        EXPECT_EQ(kinds_of(inspect(directory.upath()).problems), "not_regular ");
        tree.remove({{"A 1 hostpf", "A"}});
        EXPECT_EQ(keys(tree), "");
        EXPECT_TRUE(is_link == fs::is_symlink(directory.path(receipts)));
        EXPECT_FALSE(fs::exists(directory.path("appdata/elsewhere")));
    }
}

TEST(Receipts, SayWhatIsDifferent) {
    const TemporaryDirectory directory;
    InstallTree(directory.upath()).write({selection(u"A"), selection(u"B"), selection(u"C", u"")});
    selection(u"D", u"").product->serialize(directory.upath(), {"hostpf"}, "en");
    const auto found = [&](bool contents) {
        InspectOptions options;
        options.contents = contents;
        std::size_t last = 0;
        options.on_progress = [&](std::size_t done, std::size_t total) {
            EXPECT_EQ(total, 6U);
            last = done + 1;
        };
        const Health health = inspect(directory.upath(), options);
        EXPECT_EQ(last, contents ? 6U : 0U);
        return kinds_of(health.problems) + '|' + kinds_of(health.notes);
    };
    EXPECT_EQ(found(true), "|empty "); // one of D is empty: nobody knows whether it ought to be
    directory.write(products + "A 1 en.xml", "<b/>locale");
    directory.write(products + "B 1 en.xml", "");
    directory.write(products + "B 1 hostpf.xml", "?");
    fs::permissions(directory.path(products + "C 1 en.xml"), fs::perms(0600));
    EXPECT_EQ(found(false), "empty different |empty fewer_readers ");
    EXPECT_EQ(found(true), "different empty different |empty fewer_readers ");
    EXPECT_THROW(static_cast<void>(documents_of(directory.upath(), "E 1 hostpf")), tree_error);
    fs::permissions(directory.path("appdata/products"), fs::perms(0700));
    EXPECT_NE(inspect(directory.upath()).notes.back().text.find("for 8."), std::string::npos);
    fs::resize_file(directory.path(contents_map), (1U << 30U) + 1U); // a file with a hole
    EXPECT_EQ(kinds_of(inspect(directory.upath()).problems), "unreadable empty different ");
}

} // namespace
