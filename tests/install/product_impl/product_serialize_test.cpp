// What is on disk after sequences of writes.

#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/product_impl.hpp"
#include "support/failing_allocation.hpp"
#include "support/failure.hpp"
#include "support/models.hpp"
#include "support/table.hpp"
#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <regex>
#include <thread>

namespace {

using namespace install::product_impl;
using Tags = std::vector<std::string>;
namespace model = install::datamodels::transitive_closure;

const std::string contents_map = "appdata/prodcontents.json";
const std::string installed_record = "appdata/installedProductData.json";
const std::string products = "appdata/products/";

// The sample model with one text replaced, as the table explains.
model::Product model_with(const std::string& change) {
    model::Product model = test::sample_model();
    if (change == "sample")
        return model;
    const std::map<std::string, install::ustring*> fields = {
        {"name", &model->name}, {"version", &model->version}, {"basecode", &model->basecode}};
    const auto mark = change.find('=');
    *fields.at(change.substr(0, mark)) =
        change.ends_with('?') ? u"\xD800" : fl::i18n::utf8_to_ustring(change.substr(mark + 1));
    return model;
}

TEST(ProductSerialize, LeavesWhatTheTableSays) {
    std::unique_ptr<test::TemporaryDirectory> tree;
    std::string scenario;
    for (const auto& step : test::read_table("product_serialize.tsv")) {
        SCOPED_TRACE(scenario + ": " + step[0]);
        const auto serialize = [&] {
            ProductImpl(model_with(step[1]))
                .serialize(tree->upath(), test::split(step[2], ','), step[3]);
        };
        if (step[0] == "scenario") {
            scenario = step[1];
            tree = std::make_unique<test::TemporaryDirectory>();
        } else if (step[0] == "given") {
            tree->write(step[1], step[2]);
        } else if (step[0] == "directory") {
            std::filesystem::create_directories(tree->path(step[1]));
        } else if (step[0] == "link") {
            std::filesystem::create_symlink(step[2], tree->path(step[1]));
        } else if (step[0] == "serialize") {
            serialize();
        } else if (step[0] == "throws") {
            const std::string failure = test::failure_of(serialize);
            EXPECT_NE(failure.find(step[4]), std::string::npos) << failure;
        } else if (step[0] == "holds") {
            const std::regex time(":1[7-9][0-9]{11}(?=[,}])"); // from 2023 to 2033
            EXPECT_EQ(std::regex_replace(tree->content(step[1]), time, ":NOW"), step[2]);
        } else {
            ASSERT_EQ(step[0], "files");
            EXPECT_EQ(tree->files(), std::set<std::string>(step.begin() + 1, step.end()));
        }
    }
}

TEST(ProductSerialize, NamesADocumentThatIsMissingOnlyWhereItIsAskedFor) {
    const test::TemporaryDirectory tree;
    const ProductImpl product(test::sample_model());
    const auto write = [&](auto operation, const std::string& tag) {
        return test::failure_of([&] { (product.*operation)(tree.upath(), tag); });
    };
    EXPECT_EQ(write(&ProductImpl::writePlatformXml, "en"), "map::at:  key not found");
    EXPECT_EQ(write(&ProductImpl::writeLocaleXml, "hostpf"), "map::at:  key not found");
    for (const auto get : {&ProductImpl::getPlatformXml, &ProductImpl::getLocaleXml})
        EXPECT_EQ(test::failure_of<std::out_of_range>([&] { return (product.*get)("EN"); }),
                  "map::at:  key not found");
    EXPECT_EQ(write(&ProductImpl::writePlatformXml, "\xFF"), "ill-formed UTF-8 at offset 0");
    EXPECT_TRUE(std::filesystem::is_empty(tree.path(products)));
}

TEST(ProductSerialize, AddsAnEntryOnlyToAFileThatIsThere) {
    const test::TemporaryDirectory tree;
    const ProductImpl product(test::sample_model());
    const install::ustring missing = tree.upath("missing");
    EXPECT_EQ(test::failure_of<std::runtime_error>(
                  [&] { product.addEntryInContentsMap(tree.upath(), missing, {}, ""); }),
              "invalid conversion: undefined to object");
    EXPECT_EQ(test::failure_of<std::runtime_error>(
                  [&] { product.addEntryInInstalledProdData(fl::filesystem::path(missing)); }),
              "invalid conversion: undefined to object");
    EXPECT_TRUE(std::filesystem::is_empty(tree.path()));
}

// Each file is as it was before, or as it must be in the end, in the order of the stages.
TEST(ProductSerialize, LeavesOldOrCompleteFilesAfterAnyExhaustedMemory) {
    const ProductImpl product(test::sample_model());
    // Its data is read a second time, and must not be lost if there is no memory for that.
    const std::string before =
        R"({"Other": {"kxdata": [18446744073709551615, 1], "kxtype": "uint64"}})";
    std::set<std::string> states;
    const int failures = test::fail_each_allocation(
        [&] {
            auto tree = std::make_unique<test::TemporaryDirectory>();
            tree->write(contents_map, before);
            tree->write(installed_record, before);
            return tree;
        },
        [&](const auto& tree) {
            test::failure_of<std::runtime_error>( // as a file that cannot be read
                [&] { product.serialize(tree->upath(), {"hostpf"}, ""); });
        },
        [&](const auto& tree) {
            states.insert(tree->content(products + "Sample Tool 2.5 hostpf.xml") +
                          tree->content(contents_map) + tree->content(installed_record));
        });
    EXPECT_GT(failures, 50);
    const std::string map =
        R"({"Other":{"kxdata":[18446744073709551615,1],"kxtype":"uint64"},)"
        R"("Sample Tool 2.5 hostpf":["/appdata/products/Sample Tool 2.5 hostpf.xml"]})";
    EXPECT_EQ(states, (std::set<std::string>{before + before, "<host/>" + before + before,
                                             "<host/>" + map + before}));
}

class CountingProduct : public ProductImpl {
public:
    using ProductImpl::ProductImpl;
    using ProductImpl::writeXml;
    void writeXml(const install::ustring& /*installRoot*/, const Tags& platforms,
                  const Tags& locales) const override {
        calls += std::to_string(platforms.size()) + platforms[0] + std::to_string(locales.size()) +
                 locales.at(0) + " ";
    }
    mutable std::string calls;
};

TEST(ProductSerialize, GoesThroughAnOverrideOfWriteXml) {
    const test::TemporaryDirectory tree;
    std::filesystem::create_directory(tree.path("appdata"));
    const CountingProduct counting{test::sample_model()};
    counting.serialize(tree.upath(), {"hostpf"}, "en");
    counting.writeXml(tree.upath(), {"a", "b"}, std::string("c"));
    EXPECT_EQ(counting.calls, "1hostpf1en 2a1c ");
    EXPECT_EQ(tree.files(), (std::set<std::string>{contents_map, installed_record}));
}

TEST(ProductSerialize, WritesOneProductToATreeInEachThread) {
    const auto source = test::sample_model();
    source->directRequiredComponents[u"key"];
    const ProductImpl product(source);
    const test::TemporaryDirectory trees[8];
    std::vector<std::jthread> threads;
    for (const auto& tree : trees)
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                product.serialize(tree.upath(), {"hostpf", "otherpf"}, "en");
                EXPECT_EQ(product.getComponents().size(), 1U);
            }
        });
    threads.clear();
    for (const auto& tree : trees)
        EXPECT_EQ(tree.content(contents_map), trees[0].content(contents_map));
    EXPECT_EQ(trees[0].files().size(), 5U);
}

} // namespace
