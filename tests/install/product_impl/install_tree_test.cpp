// What is on disk after sequences of writes.

#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "support/failing_allocation.hpp"
#include "support/failure.hpp"
#include "support/models.hpp"
#include "support/temporary_directory.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>

namespace {

using namespace install::product_impl;
using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using install::ustring;
using Tags = std::vector<std::string>;

const std::string contents_map = "appdata/prodcontents.json";
const std::string installed_record = "appdata/installedProductData.json";
const std::string products = "appdata/products/";

class InstallTree : public testing::Test {
protected:
    [[nodiscard]] ustring root() const { return tree.upath(); }
    [[nodiscard]] ValueMap members(const std::string& name) const {
        return utils::getJsonObjFromFile(tree.upath(name));
    }
    [[nodiscard]] double written_at(const std::string& basecode) const {
        return members(installed_record).at(basecode).get<double>();
    }

    test::TemporaryDirectory tree;
    const ProductImpl product{test::sample_model()};
};

double milliseconds_now() {
    return std::chrono::floor<std::chrono::duration<double, std::milli>>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

TEST_F(InstallTree, HoldsOneProduct) {
    const double before = milliseconds_now() - 1;
    product.serialize(root(), {"hostpf", "thirdpf", "otherpf", "HOSTPF"}, "en");
    EXPECT_EQ(tree.files(), (std::set<std::string>{contents_map, installed_record,
                                                   products + "Sample Tool 2.5 hostpf.xml",
                                                   products + "Sample Tool 2.5 otherpf.xml",
                                                   products + "Sample Tool 2.5 en.xml"}));
    EXPECT_EQ(tree.content(products + "Sample Tool 2.5 otherpf.xml"), "<other \xC3\xA4/>");
    EXPECT_EQ(tree.content(products + "Sample Tool 2.5 en.xml"), "<en/>");
    EXPECT_EQ(tree.content(contents_map),
              R"({"Sample Tool 2.5 hostpf":["/appdata/products/Sample Tool 2.5 hostpf.xml",)"
              R"("/appdata/products/Sample Tool 2.5 otherpf.xml",)"
              R"("/appdata/products/Sample Tool 2.5 en.xml"]})");
    EXPECT_EQ(members(installed_record).size(), 1U);
    EXPECT_GE(written_at("ST"), before);
    EXPECT_LE(written_at("ST"), milliseconds_now());
    const std::string record = tree.content(installed_record);
    EXPECT_EQ(record.find_first_not_of("0123456789", 6), record.size() - 1) << record;
}

TEST_F(InstallTree, IsSharedByProductsAndVersions) {
    auto model = test::sample_model();
    model->name = u"Alpha Tools";
    model->basecode = u"";
    const ProductImpl alpha(model);
    model = test::sample_model();
    model->version = u"3.0";
    const ProductImpl newer(model);
    const std::string empty_list = "\"Sample Tool 3.0 hostpf\":[]";

    product.serialize(root(), {"otherpf"}, "xx");
    tree.write(installed_record, R"({"ST":1})"); // a write of long ago
    alpha.serialize(root(), {"hostpf"}, "xx");
    newer.serialize(root(), {}, "xx");
    EXPECT_EQ(tree.content(contents_map),
              R"({"Alpha Tools 2.5 hostpf":["/appdata/products/Alpha Tools 2.5 hostpf.xml"],)"
              R"("Sample Tool 2.5 hostpf":["/appdata/products/Sample Tool 2.5 otherpf.xml"],)" +
                  empty_list + "}");
    EXPECT_EQ(members(installed_record).size(), 2U); // both versions have one basecode
    EXPECT_GT(written_at("ST"), 1e12);
    EXPECT_GT(written_at(""), 1e12);
}

TEST_F(InstallTree, IsTheSameAfterARepeatedWriteButForTheTime) {
    product.serialize(root(), {"hostpf"}, "en");
    const std::set<std::string> files = tree.files();
    const std::string map = tree.content(contents_map);
    product.serialize(root(), {"hostpf"}, "en");
    EXPECT_EQ(tree.files(), files);
    EXPECT_EQ(tree.content(contents_map), map);
    EXPECT_EQ(members(installed_record).size(), 1U);

    product.serialize(root(), {"otherpf", "otherpf"}, "none"); // replaces the whole list
    const std::string path = "/appdata/products/Sample Tool 2.5 otherpf.xml";
    EXPECT_EQ(members(contents_map).at("Sample Tool 2.5 hostpf"),
              Value(ValueVector{Value(path), Value(path)}));
    EXPECT_TRUE(tree.files().contains(products + "Sample Tool 2.5 en.xml")); // nothing is deleted
}

TEST_F(InstallTree, CarriesAlongWhatItDoesNotKnow) {
    const std::string others =
        R"("":null,"a":[true,false,{"b":-0.5}],"c":"\u0000\\\/","d":1e999,"d":2,"z":{"z":{}})";
    const std::string written =
        R"("":null,"a":[true,false,{"b":-0.5}],"c":"\u0000\\/","d":1e999,"z":{"z":{}})";
    const std::string entry = R"("Sample Tool 2.5 hostpf":)";
    tree.write(contents_map, "{ " + others + " , " + entry + "17 } \n trailing {");
    tree.write(installed_record, "{" + others + R"(,"ST":"old"})");
    product.serialize(root(), {}, "");
    EXPECT_EQ(tree.content(contents_map),
              R"({"":null,)" + entry + "[]," + written.substr(written.find(R"("a")")) + "}");
    ValueMap record = members(installed_record);
    EXPECT_EQ(record.at("ST").tag(), foundation::json::traits<double>::tag);
    record.erase("ST");
    EXPECT_EQ(foundation::json::Value(record), [&] {
        tree.write("others", "{" + others + "}");
        return Value(members("others"));
    }());
}

TEST_F(InstallTree, IsNotTouchedWhereAJsonFileIsDamaged) {
    for (const std::string& damaged : {contents_map, installed_record})
        for (const char* text : {"", "[1]", R"({"a":[1,})", "\xEF\xBB\xBF{}"}) {
            const test::TemporaryDirectory own;
            own.write(damaged, text);
            EXPECT_THROW(product.serialize(own.upath(), {"hostpf"}, "en"), std::runtime_error);
            EXPECT_EQ(own.content(damaged), text);
            // The stages before have run, those behind have not.
            EXPECT_TRUE(own.files().contains(products + "Sample Tool 2.5 en.xml"));
            EXPECT_EQ(own.files().contains(contents_map), true);
            EXPECT_EQ(own.files().contains(installed_record), damaged == installed_record);
        }
}

TEST_F(InstallTree, IsNotMadeWhereNothingIsSelected) {
    product.serialize(root(), {"thirdpf"}, "xx");
    EXPECT_TRUE(std::filesystem::is_empty(tree.path()));
    std::filesystem::create_directory(tree.path("appdata"));
    product.serialize(root(), {"thirdpf"}, "xx");
    EXPECT_EQ(tree.content(contents_map), R"({"Sample Tool 2.5 hostpf":[]})");
    EXPECT_EQ(tree.files(), (std::set<std::string>{contents_map, installed_record}));
}

TEST_F(InstallTree, GivesEqualTagsOneFile) {
    auto model = test::sample_model();
    model->platformXmls = {{u"en", u"<platform/>"}};
    ProductImpl(model).serialize(root(), {"en"}, "en");
    EXPECT_EQ(tree.content(products + "Sample Tool 2.5 en.xml"), "<en/>");
    EXPECT_EQ(members(contents_map).at("Sample Tool 2.5 hostpf").get<ValueVector>().size(), 2U);
}

TEST_F(InstallTree, GoesOnBehindAFileThatCannotBeWritten) {
    std::filesystem::create_directories(tree.path(products + "Sample Tool 2.5 hostpf.xml"));
    std::filesystem::create_symlink("/dev/full",
                                    tree.path(products + "Sample Tool 2.5 otherpf.xml"));
    product.serialize(root(), {"hostpf", "otherpf"}, "en");
    EXPECT_EQ(tree.content(products + "Sample Tool 2.5 en.xml"), "<en/>");
    EXPECT_EQ(members(contents_map).size(), 1U);
    EXPECT_EQ(members(installed_record).size(), 1U);
}

TEST_F(InstallTree, ReportsADirectoryThatCannotBeMade) {
    tree.write("appdata", "a file");
    EXPECT_THROW(product.serialize(root(), {"hostpf"}, "en"), std::filesystem::filesystem_error);
    EXPECT_EQ(tree.content("appdata"), "a file");
}

TEST_F(InstallTree, RefusesToLeaveTheRoot) {
    auto model = test::sample_model();
    model->name = u"../../outside";
    EXPECT_THROW(ProductImpl(model).serialize(tree.upath("root"), {"hostpf"}, "en"),
                 std::invalid_argument);
    EXPECT_THROW(product.writePlatformXml(root(), "\xFF"), std::runtime_error);
    EXPECT_TRUE(std::filesystem::is_empty(tree.path()));
}

TEST_F(InstallTree, SaysWhichDocumentIsMissingOnlyWhenAskedForIt) {
    const std::string not_found = "map::at:  key not found";
    using std::out_of_range;
    using test::failure_of;
    EXPECT_EQ(failure_of<out_of_range>([&] { product.writePlatformXml(root(), "en"); }), not_found);
    EXPECT_EQ(failure_of<out_of_range>([&] { product.writeLocaleXml(root(), "hostpf"); }),
              not_found);
    EXPECT_TRUE(std::filesystem::is_directory(tree.path(products)));
    EXPECT_TRUE(tree.files().empty());
}

// A file is as it was before, or as it must be in the end.
TEST_F(InstallTree, IsOldOrCompleteAfterAnyExhaustedMemory) {
    const std::string other = R"("Other 1 hostpf":["/appdata/products/Other 1 hostpf.xml"])";
    const std::string map = "{" + other + R"(,"Sample Tool 2.5 hostpf":[)" +
                            R"("/appdata/products/Sample Tool 2.5 hostpf.xml"]})";
    std::set<std::string> states;
    const auto check = [&](const std::unique_ptr<test::TemporaryDirectory>& own) {
        const std::string xml = own->content(products + "Sample Tool 2.5 hostpf.xml");
        const std::string contents = own->content(contents_map);
        const std::string record = own->content(installed_record);
        EXPECT_TRUE(xml.empty() || xml == "<host/>") << xml;
        EXPECT_TRUE(contents == "{" + other + "}" || contents == map) << contents;
        const bool recorded = record.starts_with(R"({"Other":1,"ST":)") && record.ends_with("}");
        EXPECT_TRUE(record == R"({"Other":1})" || recorded) << record;
        states.insert(std::string(xml.empty() ? "" : "X") + (contents == map ? "C" : "") +
                      (recorded ? "R" : ""));
    };
    const auto prepare = [&] {
        auto own = std::make_unique<test::TemporaryDirectory>();
        own->write(contents_map, "{" + other + "}");
        own->write(installed_record, R"({"Other":1})");
        return own;
    };
    const int failures = test::fail_each_allocation(
        prepare, [&](const auto& own) { product.serialize(own->upath(), {"hostpf"}, ""); }, check);
    EXPECT_GT(failures, 50);
    EXPECT_EQ(states, (std::set<std::string>{"", "X", "XC"}));
}

TEST(Product, ComesIntoBeingWholeOrNotAtAll) {
    const auto model = test::sample_model();
    model->requiredProducts.emplace(u"key", test::sample_model());
    model->directRequiredComponents.try_emplace(u"key");
    model->altDependencies = {{u"a text that is long enough", u"for the heap", u"", u"", u""}};
    const int failures = test::fail_each_allocation(
        [] { return 0; }, [&](int) { const ProductImpl whole(model); }, [](int) {});
    EXPECT_GE(failures, 10);
}

class CountingProduct : public ProductImpl {
public:
    using ProductImpl::ProductImpl;
    using ProductImpl::writeXml;
    void writeXml(const ustring& /*installRoot*/, const Tags& platforms,
                  const Tags& locales) const override {
        calls.emplace_back(platforms, locales);
    }
    mutable std::vector<std::pair<Tags, Tags>> calls;
};

TEST_F(InstallTree, IsWrittenThroughAnOverrideOfWriteXml) {
    std::filesystem::create_directory(tree.path("appdata"));
    const CountingProduct counting{test::sample_model()};
    counting.serialize(root(), {"hostpf"}, "en");
    counting.writeXml(root(), {"a", "b"}, std::string("c"));
    EXPECT_EQ(counting.calls,
              (std::vector<std::pair<Tags, Tags>>{{{"hostpf"}, {"en"}}, {{"a", "b"}, {"c"}}}));
    EXPECT_EQ(tree.files(), (std::set<std::string>{contents_map, installed_record}));
}

} // namespace
