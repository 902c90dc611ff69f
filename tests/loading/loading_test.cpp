// The library and a plug-in that uses it can be loaded and unloaded again and again.

#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

bool is_loaded(const char* library) {
    void* const handle = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
    return handle != nullptr && dlclose(handle) == 0;
}

TEST(Loading, LeavesNothingOfTheLibraryBehind) {
    const test::TemporaryDirectory tree;
    for (const int expected : {1, 1, -1}) {
        if (expected == -1)
            tree.write("appdata/prodcontents.json", "damaged");
        void* const module = dlopen(KX_USER_OF_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << dlerror();
        EXPECT_TRUE(is_loaded(KX_LIBRARY));
        const auto use =
            reinterpret_cast<int (*)(const char*)>(dlsym(module, "products_after_a_write"));
        EXPECT_EQ(use(tree.path().c_str()), expected);
        EXPECT_EQ(dlclose(module), 0);
        EXPECT_FALSE(is_loaded(KX_USER_OF_LIBRARY));
        EXPECT_FALSE(is_loaded(KX_LIBRARY));
    }
}

} // namespace
