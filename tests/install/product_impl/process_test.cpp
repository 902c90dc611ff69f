// The library does not change the installer's process, and threads do not disturb each other.

#include "install/product_impl/product_impl.hpp"
#include "support/failure.hpp"
#include "support/models.hpp"
#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <memory>
#include <thread>
#include <tuple>
#include <vector>

#include <sys/stat.h>

namespace {

using install::product_impl::ProductImpl;

// What a library could change of the process unnoticed.
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
    const auto before = process_state();
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    product.serialize(tree.upath(), {"hostpf"}, "en");
    tree.write("appdata/prodcontents.json", "{");
    for (const install::ustring& root : {tree.upath(), install::ustring(u"/dev/null")})
        EXPECT_NE(test::failure_of([&] { product.serialize(root, {"hostpf"}, "en"); }), "none");
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(process_state(), before);
}

TEST(Process, LetsThreadsWriteTreesOfTheirOwnFromSharedProducts) {
    const auto required = std::make_shared<ProductImpl>(test::sample_model());
    const auto source = test::sample_model();
    source->version = u"3";
    source->directRequiredComponents[u"key"];
    ProductImpl product(source);
    product.setRequiredProducts({{u"ST", required}});
    const test::TemporaryDirectory trees[8];
    {
        std::vector<std::jthread> threads;
        for (const auto& tree : trees)
            threads.emplace_back([&] {
                for (int round = 0; round < 10; ++round) {
                    product.getRequiredProducts().at(u"ST")->serialize(tree.upath(), {"hostpf"},
                                                                       "en");
                    product.serialize(tree.upath(), {"hostpf", "otherpf"}, "en");
                    EXPECT_EQ(product.getComponents().size(), 1U);
                }
            });
    }
    for (const auto& tree : trees) {
        EXPECT_EQ(tree.files().size(), 7U);
        EXPECT_EQ(tree.content("appdata/prodcontents.json"),
                  trees[0].content("appdata/prodcontents.json"));
    }
    EXPECT_EQ(required.use_count(), 2);
}

} // namespace
