#include "fl/filesystem/fstream.hpp"
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

TEST(Operations, MakeDirectoriesWithTheirParents) {
    const test::TemporaryDirectory directory;
    for (const char* name : {"a/b/\u00E4", "a/b"})
        filesystem::create_directories(directory.upath(name));
    filesystem::create_directories(ustring());
    EXPECT_TRUE(std::filesystem::is_directory(directory.path("a/b/\u00E4")));
    directory.write("file", "");
    const std::string failure = failure_of<filesystem_error>(
        [&] { filesystem::create_directories(directory.upath("file/below")); });
    EXPECT_NE(failure.find(directory.path("file/below")), std::string::npos) << failure;
}

TEST(FileStreams, OpenUnderUtf16PathsAndTellFailureByTheirState) {
    const test::TemporaryDirectory directory;
    const ustring path = directory.upath("\u00E4\u20AC");
    filesystem::basic_ofstream<char>(path, std::ios_base::binary) << "text";
    std::string read;
    filesystem::basic_ifstream<char>(path) >> read;
    EXPECT_EQ(read, "text");
    EXPECT_EQ(directory.content("\u00E4\u20AC"), "text");

    filesystem::basic_ifstream<char> missing(directory.upath("missing"));
    EXPECT_TRUE(missing.fail());
    EXPECT_EQ(missing.rdbuf()->sgetc(), std::char_traits<char>::eof());
    const filesystem::basic_ofstream<char> cut(path, std::ios_base::out | std::ios_base::binary);
    EXPECT_EQ(directory.content("\u00E4\u20AC"), "");
}

} // namespace
