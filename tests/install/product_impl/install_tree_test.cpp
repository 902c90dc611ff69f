// What is on disk after sequences of writes.

#include "install/product_impl/product_impl.hpp"
#include "support/failing_allocation.hpp"
#include "support/failure.hpp"
#include "support/models.hpp"
#include "support/table.hpp"
#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

using namespace install::product_impl;
using install::ustring;
using Tags = std::vector<std::string>;
namespace model = install::datamodels::transitive_closure;

const std::string contents_map = "appdata/prodcontents.json";
const std::string installed_record = "appdata/installedProductData.json";
const std::string products = "appdata/products/";

model::Product model_named(const std::string& name) {
    model::Product model = test::sample_model();
    if (name == "newer") {
        model->version = u"3.0";
    } else if (name == "alpha") {
        model->name = u"Alpha Tools";
        model->basecode.clear();
    } else if (name == "equal") {
        model->platformXmls = {{u"en", u"<platform/>"}};
    } else if (name == "climbing") {
        model->name = u"../../outside";
    }
    return model;
}

Tags split(const std::string& text) {
    Tags parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, ',');)
        parts.push_back(part);
    return parts;
}

// The name of a file in the table, with its short forms replaced.
std::string file_named(const std::string& name) {
    if (name == "map")
        return contents_map;
    if (name == "record")
        return installed_record;
    return name.starts_with("xml/") ? products + name.substr(4) : name;
}

// Times since `begin`, which is in milliseconds since 1970, are replaced by NOW.
std::string without_times(std::string text, long long begin) {
    for (auto colon = text.find(':'); colon != std::string::npos;
         colon = text.find(':', colon + 1)) {
        const auto digits = text.find_first_not_of("0123456789", colon + 1) - colon - 1;
        if (digits == 13 && std::stoll(text.substr(colon + 1)) >= begin)
            text.replace(colon + 1, digits, "NOW");
    }
    return text;
}

long long milliseconds_now() {
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now())
        .time_since_epoch()
        .count();
}

TEST(InstallTree, IsAsTheTableSays) {
    const long long begin = milliseconds_now();
    std::unique_ptr<test::TemporaryDirectory> tree;
    std::string scenario;
    for (const auto& step : test::read_table("install_tree.tsv")) {
        SCOPED_TRACE(scenario + ": " + step[0]);
        const std::string file = step.size() > 1 ? file_named(step[1]) : "";
        const auto serialize = [&] {
            ProductImpl(model_named(step[1])).serialize(tree->upath(), split(step[2]), step[3]);
        };
        if (step[0] == "scenario") {
            scenario = step[1];
            tree = std::make_unique<test::TemporaryDirectory>();
        } else if (step[0] == "given") {
            tree->write(file, step[2]);
        } else if (step[0] == "directory") {
            std::filesystem::create_directories(tree->path(file));
        } else if (step[0] == "link") {
            std::filesystem::create_directories(tree->path(file).parent_path());
            std::filesystem::create_symlink(step[2], tree->path(file));
        } else if (step[0] == "serialize") {
            serialize();
        } else if (step[0] == "raises") {
            const std::string failure = test::failure_of(serialize);
            EXPECT_NE(failure.find(step[4]), std::string::npos) << failure;
        } else if (step[0] == "holds") {
            EXPECT_EQ(without_times(tree->content(file), begin), step[2]);
        } else {
            ASSERT_EQ(step[0], "files");
            std::set<std::string> files;
            std::transform(step.begin() + 1, step.end(), std::inserter(files, files.end()),
                           file_named);
            EXPECT_EQ(tree->files(), files);
        }
    }
}

TEST(InstallTree, SaysWhichDocumentIsMissingOnlyWhenAskedForIt) {
    const test::TemporaryDirectory tree;
    const ProductImpl product(test::sample_model());
    const std::string not_found = "map::at:  key not found";
    using std::out_of_range;
    using test::failure_of;
    EXPECT_EQ(failure_of<out_of_range>([&] { product.writePlatformXml(tree.upath(), "en"); }),
              not_found);
    EXPECT_TRUE(std::filesystem::is_empty(tree.path(products)));
    EXPECT_EQ(failure_of<out_of_range>([&] { product.writeLocaleXml(tree.upath(), "hostpf"); }),
              not_found);
    EXPECT_THROW(product.writePlatformXml(tree.upath(), "\xFF"), std::runtime_error);
    EXPECT_TRUE(std::filesystem::is_empty(tree.path(products)));
}

// A file is as it was before, or as it must be in the end.
TEST(InstallTree, IsOldOrCompleteAfterAnyExhaustedMemory) {
    const ProductImpl product(test::sample_model());
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

TEST(InstallTree, IsWrittenThroughAnOverrideOfWriteXml) {
    const test::TemporaryDirectory tree;
    std::filesystem::create_directory(tree.path("appdata"));
    const CountingProduct counting{test::sample_model()};
    counting.serialize(tree.upath(), {"hostpf"}, "en");
    counting.writeXml(tree.upath(), {"a", "b"}, std::string("c"));
    EXPECT_EQ(counting.calls,
              (std::vector<std::pair<Tags, Tags>>{{{"hostpf"}, {"en"}}, {{"a", "b"}, {"c"}}}));
    EXPECT_EQ(tree.files(), (std::set<std::string>{contents_map, installed_record}));
}

} // namespace
