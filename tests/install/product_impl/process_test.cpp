// What the library must not do to the installer's process, and that threads do not get into each
// other's way.

#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "install/product_impl/utils/paths.hpp"
#include "support/failure.hpp"
#include "support/models.hpp"
#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <sys/stat.h>

namespace {

using namespace install::product_impl;
using install::ustring;
namespace model = install::datamodels::transitive_closure;

// What a library could change of the process behind its user's back.
auto process_state() {
    const mode_t mask = umask(0);
    umask(mask);
    const auto entries = [](const char* directory) {
        return std::distance(std::filesystem::directory_iterator(directory), {});
    };
    return std::make_tuple(mask, std::string(setlocale(LC_ALL, nullptr)),
                           std::filesystem::current_path(), entries("/proc/self/fd"),
                           entries("/proc/self/task"));
}

TEST(Process, IsLeftAsItWas) {
    const test::TemporaryDirectory tree;
    const ProductImpl product(test::sample_model());
    const auto write = [&](const ustring& root) {
        return test::failure_of([&] { product.serialize(root, {"hostpf"}, "en"); });
    };
    const auto before = process_state();
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const std::string no_failure = write(tree.upath());
    tree.write("appdata/prodcontents.json", "{");
    const std::string damaged = write(tree.upath());
    const std::string no_directory = write(u"/dev/null");
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(process_state(), before);
    EXPECT_EQ(no_failure, "none");
    EXPECT_EQ(damaged, "invalid conversion: undefined to object");
    EXPECT_TRUE(no_directory.starts_with("filesystem error")) << no_directory;
}

TEST(Process, LetsThreadsWriteTreesOfTheirOwnFromSharedProducts) {
    const auto required = std::make_shared<ProductImpl>(test::sample_model());
    std::vector<std::unique_ptr<ProductImpl>> products;
    for (const char16_t* version : {u"1", u"2", u"3"}) {
        model::Product source = test::sample_model();
        source->version = version;
        source->directRequiredComponents = {{u"key", model::Component()}};
        products.push_back(std::make_unique<ProductImpl>(source));
        products.back()->setRequiredProducts({{u"ST", required}});
    }
    const auto work = [&](const test::TemporaryDirectory& tree) {
        for (int round = 0; round < 10; ++round)
            for (const auto& product : products) {
                const RequiredProductMap shared = product->getRequiredProducts();
                shared.at(u"ST")->serialize(tree.upath(), {"hostpf"}, "en");
                product->serialize(tree.upath(), {"hostpf", "otherpf"}, "en");
                const ComponentMap components = product->getComponents();
            }
    };
    test::TemporaryDirectory trees[8];
    std::vector<std::jthread> threads;
    for (const auto& tree : trees)
        threads.emplace_back([&] { work(tree); });
    threads.clear();
    for (const auto& tree : trees) {
        EXPECT_EQ(utils::getJsonObjFromFile(utils::getContentsMapPath(tree.upath()).text()).size(),
                  4U);
        EXPECT_EQ(tree.files().size(), 13U);
        EXPECT_EQ(tree.content("appdata/prodcontents.json"),
                  trees[0].content("appdata/prodcontents.json"));
    }
    EXPECT_EQ(required.use_count(), 1 + std::ssize(products));
}

} // namespace
