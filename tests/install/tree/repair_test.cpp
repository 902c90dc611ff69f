// What a repair makes of damaged trees.

#include "install/tree/repair.hpp"

#include "foundation/json/serialize.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "install/tree/health.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <random>
#include <regex>

namespace {

using namespace install::tree;
using namespace test;
using foundation::json::Value;
using foundation::json::ValueMap;
namespace fs = std::filesystem;

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
        EXPECT_FALSE(repair(tree_.upath()).steps.empty());
        EXPECT_EQ(tree_.content(contents_map), map_.substr(0, size));
        EXPECT_FALSE(repair(tree_.upath(), RepairMode::apply).steps.empty());
        EXPECT_EQ(tree_.content(contents_map), map_);
        EXPECT_EQ(tree_.content(contents_map + ".damaged"), map_.substr(0, size));
        std::filesystem::remove(tree_.path(contents_map + ".damaged"));
        EXPECT_TRUE(repair(tree_.upath()).steps.empty());
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
        {"{" + entry("A") + "}", "{" + entry("A") + "}"}, // whole, so that nothing is missing
    };
    for (const auto& [damaged, expected] : texts) {
        SCOPED_TRACE(damaged);
        tree_.write(contents_map, damaged);
        repair(tree_.upath(), RepairMode::apply);
        EXPECT_EQ(tree_.content(contents_map), expected);
    }
}

std::string six_times(const std::string& text) {
    return text + text + text + text + text + text;
}

// The removed product stays away, unless its documents are there, and whatever a receipt knows
// comes back.
TEST(RepairedFromReceipts, IsWhatIsKnown) {
    struct Row {
        const char* damage;
        std::vector<std::string> gone;
        std::map<std::string, std::string> written;
        std::string keys;
        std::string left; // problems and notes
    };
    const std::string others = "a 1 1 hostpf|a 1 hostpf|";
    const std::string all = "B 1 hostpf|" + others;
    const std::string b = products + "B 1 ";
    const std::vector<std::string> both = {b + "hostpf.xml", b + "en.xml"};
    const std::string gone = products + "gone 1 ";
    const std::map<std::string, std::string> removed = {
        {gone + "hostpf.xml", ""},
        {contents_map + ".old", R"({"gone 1 hostpf":["appdata/products/gone 1 hostpf.xml"]})"}};
    const std::vector<Row> rows = {
        {"a whole map", {}, {{contents_map, "{}"}}, "", six_times("not_listed ") + "|"},
        {"an empty map", {}, {{contents_map, ""}}, all, "|"},
        {"no map", {contents_map}, {}, all, "|"},
        {"the map that had it", {contents_map}, removed, all + "gone 1 hostpf|", "|empty "},
        {"without a receipt", {}, {{gone + "en.xml", "x"}}, all, "not_listed |"},
        {"all documents, and the map", both, {{contents_map, ""}}, all, "missing missing |"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.damage);
        const TemporaryDirectory directory;
        InstallTree tree(directory.upath() + u"/");
        auto former = selection(u"gone");
        former.platforms = {"hostpf", "en"};
        tree.write({selection(u"a"), selection(u"a 1"), selection(u"B"), former});
        tree.write({selection(u"gone")});
        tree.remove({{"gone 1 hostpf", {}}});
        for (const std::string& name : row.gone)
            fs::remove(directory.path(name));
        for (const auto& [name, text] : row.written)
            directory.write(name, text);
        const auto report = repair(directory.upath(), RepairMode::apply);
        std::string keys;
        for (const auto& entry : tree.list().contents) {
            keys += entry.key + '|';
            EXPECT_EQ(entry.paths.at(0).front(), 'a'); // as the root had a separator at its end
        }
        EXPECT_EQ(keys, row.keys);
        const Health health = inspect(directory.upath());
        EXPECT_EQ(kinds_of(health.problems) + '|' + kinds_of(report.notes) + kinds_of(health.notes),
                  row.left);
        EXPECT_TRUE(repair(directory.upath()).steps.empty());
    }
}

// Where another program wrote a product later, as the installed record says, or as its last good
// version says and the documents do not deny, the receipt is not current.
TEST(RepairedFromReceipts, IsOfTheLastWrite) {
    struct Row {
        bool has_record, is_document_edited, is_from_receipt;
    };
    for (const auto& [has_record, is_document_edited, is_from_receipt] :
         {Row{true, false, false}, Row{false, true, false}, Row{false, false, true}}) {
        const TemporaryDirectory directory;
        InstallTree tree(directory.upath());
        tree.write({selection(u"A"), selection(u"B")});
        const auto time = std::to_string(tree.list().record[1].time.time_since_epoch().count());
        const std::string later = R"({"A":4000000000000,"B":)" + time + R"(,"x":null})";
        directory.write(installed_record, has_record ? later : R"({"x":null,)");
        directory.write(installed_record + ".old", later);
        if (is_document_edited)
            directory.write(products + "A 1 en.xml", "edited");
        fs::remove(directory.path(contents_map));
        directory.write(contents_map + ".old",
                        R"({"A 1 hostpf":["/appdata/products/A 1 en.xml"]})");
        repair(directory.upath(), RepairMode::apply);
        EXPECT_EQ(tree.list().contents.at(0).paths.size(), is_from_receipt ? 2U : 1U);
        EXPECT_EQ(files_of(directory)[installed_record],
                  is_from_receipt ? R"({"A":NOW,"B":NOW,"x":null})"
                                  : R"({"A":4000000000000,"B":NOW,"x":null})");
    }
}

// A tree of A and B, of C, which was written last, and of S, which only serialize wrote.
class Proved : public testing::Test {
protected:
    Proved() {
        InstallTree tree(tree_.upath());
        tree.write({selection(u"A"), selection(u"B")});
        const auto serialized = selection(u"S");
        serialized.product->serialize(tree_.upath(), {"hostpf"}, "en");
        tree.write({selection(u"C")});
        map_ = tree_.content(contents_map);
        record_ = tree_.content(installed_record);
    }

    struct Outcome {
        std::string keys;      // of products, with a space after each
        std::string remaining; // kinds of problems
        bool operator==(const Outcome&) const = default;
        friend std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
            return stream << outcome.keys << "| " << outcome.remaining;
        }
    };

    // What a repair says beforehand is what is left then, and a second one does nothing.
    Outcome repaired() const {
        const RepairReport planned = repair(tree_.upath());
        const RepairReport done = repair(tree_.upath(), RepairMode::apply);
        EXPECT_EQ(planned.steps.size(), done.steps.size());
        EXPECT_EQ(kinds_of(planned.remaining), kinds_of(done.remaining));
        EXPECT_EQ(kinds_of(done.remaining),
                  kinds_of(inspect(tree_.upath(), {.contents = false}).problems));
        EXPECT_TRUE(repair(tree_.upath()).steps.empty());
        std::string keys;
        for (const auto& entry : InstallTree(tree_.upath()).list().contents)
            keys += entry.key.substr(0, 1) + ' ';
        return {keys, kinds_of(done.remaining)};
    }

    TemporaryDirectory tree_;
    std::string map_;
    std::string record_;
};

TEST_F(Proved, WhatSerializeWroteAloneComesFromTheLastGoodVersion) {
    tree_.write(contents_map, "");
    EXPECT_EQ(repaired(), (Outcome{"A B C S ", ""}));
}

TEST_F(Proved, ReceiptsOfAnotherTreeProveNothing) {
    tree_.write(contents_map, "");
    const TemporaryDirectory other;
    InstallTree(other.upath()).write({selection(u"X")});
    tree_.write(receipts, other.content(receipts));
    EXPECT_EQ(repaired(), (Outcome{"A B S ", "not_listed not_listed "})); // C was not in .old yet
}

TEST_F(Proved, AnEntryThatBothWholeFilesLackIsNotInvented) {
    tree_.write(products + "D 1 en.xml", "<d/>");
    EXPECT_EQ(repaired(), (Outcome{"A B C S ", "not_listed "}));
}

TEST_F(Proved, ReceiptsThatTheDocumentsContradictStayLost) {
    InstallTree(tree_.upath()).write({selection(u"A", u"<new/>")});
    tree_.write(receipts, "{");
    tree_.write(installed_record, "{");
    fs::remove(tree_.path(products + "B 1 en.xml"));
    EXPECT_EQ(repaired(), (Outcome{"A B C S ", "missing "}));
    std::string keys;
    for (const Receipt& receipt : InstallTree(tree_.upath()).list().receipts)
        keys += receipt.key.substr(0, 1);
    EXPECT_EQ(keys, "BC"); // a missing document is no reason to lose the receipt of the others
}

TEST_F(Proved, WithoutTheDirectoryOfTheDocumentsNothingIs) {
    tree_.write(contents_map, "");
    fs::rename(tree_.path(products), tree_.path("elsewhere"));
    EXPECT_THROW(repair(tree_.upath()), tree_error);
}

TEST_F(Proved, FilesInEachOthersPlaceAreSwappedBack) {
    tree_.write(contents_map, record_);
    tree_.write(installed_record, map_);
    EXPECT_EQ(kinds_of(inspect(tree_.upath()).problems), "swapped ");
    EXPECT_EQ(repaired(), (Outcome{"A B C S ", ""}));
    EXPECT_EQ(tree_.content(contents_map), map_);
    EXPECT_EQ(tree_.content(installed_record), record_);
}

TEST_F(Proved, TimesThatAreNoneComeFromReceipts) {
    const std::regex times("\"(A|S)\":[0-9]+");
    tree_.write(installed_record, std::regex_replace(record_, times, "\"$1\":\"yesterday\""));
    EXPECT_EQ(repaired(), (Outcome{"A B C S ", "no_time "})); // S has no receipt
    EXPECT_EQ(InstallTree(tree_.upath()).list().record.size(), 3U);
}

TEST_F(Proved, OddRecordsAndTextsAreNamed) {
    struct Row {
        std::string name, text, problems, notes;
    };
    const std::string latin1 = map_.substr(0, map_.size() - 1) +
                               ",\"\xF6 1 hostpf\":[\"/appdata/products/\xF6 1 hostpf.xml\"]}";
    const auto entry = [&](const char* replacement) {
        return std::regex_replace(record_, std::regex("\"B\":[0-9]+,"), replacement);
    };
    tree_.write(products + "\u00F6 1 hostpf.xml", "<a/>");
    const Row rows[] = {
        {installed_record, entry(R"("B":5,)"), "not_listed ", "old "},
        {installed_record, entry(""), "missing not_listed ", ""},
        {installed_record, entry(R"("B":5,"B":6,)"), "not_listed ", "repeated_key old "},
        {contents_map, latin1, "not_utf8 ", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const auto copy = copy_of(tree_);
        copy->write(row.name, row.text);
        const Health health = inspect(copy->upath());
        EXPECT_EQ(kinds_of(health.problems), row.problems);
        EXPECT_EQ(kinds_of(health.notes), row.notes);
    }
}

// A change that was made, and then some of its files damaged at random: KX_TEST_DAMAGES trees.
class RandomDamage : public testing::Test {
protected:
    RandomDamage() {
        InstallTree tree(whole_.upath());
        whole_.write(contents_map, R"({"another program's":[["x"],{"y":1e-3}]})");
        tree.write({selection(u"a"), selection(u"a 1"), selection(u"\u00E4"), selection(u"gone")});
        tree.write({selection(u"b\n"), selection(u"in/folder")});
        const auto serialized = selection(u"serialized");
        serialized.product->serialize(whole_.upath(), serialized.platforms, serialized.locale);
        tree.write({selection(u"last")});
        tree.remove({{"gone 1 hostpf", {}}});
    }

    // Returns the first byte that may be another one.
    std::size_t damage(std::string& text) {
        const std::size_t offset = random_() % (text.size() + 1);
        const std::string other = std::string("\0\xff{}[],:\"\\x1", 13);
        if (random_() % 2 == 0)
            text.resize(offset);
        else if (random_() % 2 == 0)
            text.replace(offset, random_() % 3, 1, other[random_() % other.size()]);
        else
            text.replace(offset, random_() % 50, text.substr(random_() % text.size(), 40));
        return offset;
    }

    // Every member of the whole file that a comma follows before the offset is in the other one.
    void expect_members(const TemporaryDirectory& tree, const std::string& name,
                        std::size_t offset) const {
        const auto found = members(tree, name);
        std::size_t end = 1;
        for (const auto& [key, value] : members(whole_, name)) {
            end += text_of(key, value).size() - 2;
            if (end >= offset)
                return;
            ASSERT_TRUE(found.contains(key)) << key;
            EXPECT_EQ(text_of(key, found.at(key)), text_of(key, value));
            ++end;
        }
    }

    static ValueMap members(const TemporaryDirectory& tree, const std::string& name) {
        return install::product_impl::utils::getJsonObjFromFile(tree.upath(name));
    }
    static std::string text_of(const std::string& key, const Value& value) {
        return foundation::json::serialize(Value(ValueMap{{key, value}}));
    }

    TemporaryDirectory whole_;
    std::mt19937 random_{1};
};

std::string summary_of(const RepairReport& report, const TemporaryDirectory& tree) {
    std::string text;
    for (const auto& [path, what] : report.steps)
        text += path.substr(tree.path().string().size()) + ": " + what + '\n';
    return text + kinds_of(report.notes);
}

TEST_F(RandomDamage, LosesNothingBeforeIt) {
    const char* const count = std::getenv("KX_TEST_DAMAGES");
    int damaged_maps = 0;
    for (int round = count == nullptr ? 100 : std::stoi(count); round > 0; --round) {
        SCOPED_TRACE(round);
        const auto tree = copy_of(whole_);
        std::map<std::string, std::size_t> offsets; // by names of damaged files
        for (const std::string& name : {contents_map, installed_record, receipts})
            for (const std::string& file : {name, name + ".old"})
                if (random_() % 3 == 0) {
                    std::string text = whole_.content(file);
                    offsets[file] = damage(text);
                    tree->write(file, text);
                }
        const std::string planned = summary_of(repair(tree->upath()), *tree);
        EXPECT_EQ(summary_of(repair(tree->upath(), RepairMode::apply), *tree), planned);
        EXPECT_TRUE(repair(tree->upath()).steps.empty());
        for (const auto& [file, offset] : offsets)
            if (file.ends_with(".json"))
                expect_members(*tree, file, offset);
        const auto map = members(*tree, contents_map);
        EXPECT_FALSE(map.contains("gone 1 hostpf"));
        EXPECT_FALSE(members(*tree, receipts).contains("gone 1 hostpf"));
        if (planned.find("file as prodcontents") != std::string::npos &&
            !offsets.contains(installed_record) && !offsets.contains(receipts)) {
            ++damaged_maps;
            for (const auto& [key, value] : members(whole_, receipts))
                EXPECT_TRUE(map.contains(key)) << key;
        }
        for (const Fault& fault : inspect(tree->upath()).problems)
            EXPECT_TRUE(fault.kind < Fault::Kind::damaged || fault.kind == Fault::Kind::not_utf8)
                << fault.path << ": " << fault.text;
    }
    EXPECT_GT(damaged_maps, 5);
}

} // namespace
