// The library and a plug-in that uses it can be loaded and unloaded again and again.

#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

TEST(Loading, LeavesNothingOfTheLibraryBehind) {
    const test::TemporaryDirectory tree;
    for (const int expected : {1, 1, -1}) {
        if (expected == -1)
            tree.write("appdata/prodcontents.json", "damaged");
        void* const module = dlopen(KX_USER_OF_LIBRARY, RTLD_NOW);
        ASSERT_NE(module, nullptr) << dlerror();
        void* const write = dlsym(module, "products_after_a_write");
        EXPECT_EQ(reinterpret_cast<int (*)(const char*)>(write)(tree.path().c_str()), expected);
        void* const loaded = dlopen(KX_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
        EXPECT_TRUE(loaded != nullptr && dlclose(loaded) == 0);
        EXPECT_EQ(dlclose(module), 0);
        for (const char* library : {KX_USER_OF_LIBRARY, KX_LIBRARY})
            EXPECT_EQ(dlopen(library, RTLD_NOW | RTLD_NOLOAD), nullptr) << library;
    }
}

} // namespace
