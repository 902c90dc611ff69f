// What a repair makes of damaged trees.

#include "install/tree/repair.hpp"

#include "foundation/json/serialize.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "install/tree/health.hpp"
#include "install/tree/prune.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

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
    }

    static std::string entry(const std::string& letter) {
        return '"' + letter + " 1 hostpf\":[\"/appdata/products/" + letter +
               " 1 hostpf.xml\",\"/appdata/products/" + letter + " 1 en.xml\"]";
    }

    TemporaryDirectory tree_;
    std::string map_ = "{" + entry("A") + "," + entry("B") + "," + entry("C") + "}";
    std::string record_ = R"({"A":10,"B":20,"C":30})";
};

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

std::vector<std::string> prunable(const TemporaryDirectory& tree) {
    try {
        return prune(tree.upath()).documents;
    } catch (const tree_error&) {
        return {};
    }
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
        for (const std::string& path :
             prunable(*tree)) // where receipts are whole, nothing of theirs
            EXPECT_TRUE(path.find("serialized 1") != std::string::npos ||
                        offsets.contains(installed_record) || offsets.contains(receipts))
                << path;
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
