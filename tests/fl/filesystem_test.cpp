#include "fl/filesystem/operations.hpp"
#include "support/failure.hpp"
#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using fl::ustring;
using std::filesystem::filesystem_error;
using test::failure_of;
namespace filesystem = fl::filesystem;

TEST(Operations, TellWhatIsThereFromWhatCannotBeLookedAt) {
    const test::TemporaryDirectory directory;
    directory.write("file", "");
    std::filesystem::create_symlink("loop", directory.path("loop"));
    std::filesystem::create_symlink("nowhere", directory.path("dangling"));
    EXPECT_TRUE(filesystem::exists(directory.upath()));
    EXPECT_TRUE(filesystem::exists(filesystem::path(directory.upath("file"))));
    for (const char* name : {"missing/file", "file/below", "dangling"})
        EXPECT_FALSE(filesystem::exists(directory.upath(name))) << name;
    EXPECT_FALSE(filesystem::exists(ustring()));
    const std::string failure =
        failure_of<filesystem_error>([&] { return filesystem::exists(directory.upath("loop")); });
    EXPECT_NE(failure.find(directory.path("loop")), std::string::npos) << failure;
    EXPECT_THROW(static_cast<void>(filesystem::exists(ustring(u"a\0b", 3))), std::invalid_argument);
}

} // namespace
