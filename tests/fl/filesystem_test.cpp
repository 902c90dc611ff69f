#include "fl/filesystem/fstream.hpp"
#include "fl/filesystem/operations.hpp"
#include "fl/filesystem/path.hpp"
#include "fl/i18n/text_conversion.hpp"
#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using fl::ustring;
namespace filesystem = fl::filesystem;

TEST(Path, JoinsElementsWithOneSeparator) {
    const struct {
        ustring path;
        ustring element;
        ustring joined;
    } rows[] = {
        {u"/opt", u"kit", u"/opt/kit"}, {u"/opt/", u"kit", u"/opt/kit"}, {u"", u"kit", u"kit"},
        {u"/", u"kit", u"/kit"},        {u"/opt", u"", u"/opt"},         {u"a", u"b/c", u"a/b/c"},
        {u"a", u"..b", u"a/..b"},       {u"a", u"b..", u"a/b.."},        {u"a", u"...", u"a/..."},
        {u"..", u"b", u"../b"}, // only what is joined must not climb: a root may
    };
    for (const auto& [path, element, joined] : rows)
        EXPECT_EQ(filesystem::path(path).append_element(element).text(), joined);
    filesystem::path path(u"a");
    EXPECT_EQ(&path.append_element(u"b").append_element(static_cast<const char16_t*>(nullptr)),
              &path);
    EXPECT_EQ(path.text(), u"a/b");
}

TEST(Path, RefusesAnElementThatClimbs) {
    for (const ustring element : {u"..", u"../x", u"x/..", u"x/../y", u"/..", u"../"}) {
        filesystem::path path(u"/opt");
        try {
            path.append_element(element);
            ADD_FAILURE() << fl::i18n::ustring_to_utf8(element);
        } catch (const std::invalid_argument& error) {
            const std::string message = error.what();
            EXPECT_NE(message.find(fl::i18n::ustring_to_utf8(element)), std::string::npos);
        }
        EXPECT_EQ(path.text(), u"/opt");
    }
}

TEST(Path, HasAParent) {
    const struct {
        ustring path;
        ustring parent;
    } rows[] = {{u"/a/b", u"/a"}, {u"/a/", u"/a"}, {u"/a", u"/"}, {u"/", u"/"},
                {u"a", u""},      {u"", u""},      {u"a/b", u"a"}};
    for (const auto& [path, parent] : rows)
        EXPECT_EQ(filesystem::detail::extract_parent_path(path), parent);
}

TEST(Operations, TellWhatIsThereFromWhatCannotBeLookedAt) {
    const test::TemporaryDirectory directory;
    directory.write("file", "");
    std::filesystem::create_symlink("loop", directory.path("loop"));
    std::filesystem::create_symlink("nowhere", directory.path("dangling"));
    EXPECT_TRUE(filesystem::exists(directory.upath()));
    EXPECT_TRUE(filesystem::exists(filesystem::path(directory.upath("file"))));
    EXPECT_FALSE(filesystem::exists(directory.upath("missing/file")));
    EXPECT_FALSE(filesystem::exists(directory.upath("file/below")));
    EXPECT_FALSE(filesystem::exists(directory.upath("dangling")));
    EXPECT_FALSE(filesystem::exists(ustring()));
    try {
        static_cast<void>(filesystem::exists(directory.upath("loop")));
        ADD_FAILURE() << "a loop of links was taken for something";
    } catch (const std::filesystem::filesystem_error& error) {
        EXPECT_NE(std::string(error.what()).find("loop"), std::string::npos);
    }
    EXPECT_THROW(static_cast<void>(filesystem::exists(ustring(u"a\0b", 3))), std::invalid_argument);
}

TEST(Operations, MakeDirectoriesWithTheirParents) {
    const test::TemporaryDirectory directory;
    filesystem::create_directories(directory.upath("a/b/\u00E4"));
    filesystem::create_directories(directory.upath("a/b"));
    filesystem::create_directories(ustring());
    EXPECT_TRUE(std::filesystem::is_directory(directory.path("a/b/\u00E4")));
    directory.write("file", "");
    try {
        filesystem::create_directories(directory.upath("file/below"));
        ADD_FAILURE() << "a directory was made in a file";
    } catch (const std::filesystem::filesystem_error& error) {
        EXPECT_NE(std::string(error.what()).find("file/below"), std::string::npos);
    }
}

TEST(FileStreams, OpenUnderUtf16PathsAndTellFailureByTheirState) {
    const test::TemporaryDirectory directory;
    const ustring path = directory.upath("\u00E4\u20AC");
    filesystem::basic_ofstream<char>(path, std::ios_base::binary) << "text";
    std::string read;
    filesystem::basic_ifstream<char>(path) >> read;
    EXPECT_EQ(read, "text");
    EXPECT_TRUE(std::filesystem::exists(directory.path("\u00E4\u20AC")));

    filesystem::basic_ifstream<char> missing(directory.upath("missing"));
    EXPECT_TRUE(missing.fail());
    EXPECT_EQ(missing.rdbuf()->sgetc(), std::char_traits<char>::eof());
    const filesystem::basic_ofstream<char> cut(path, std::ios_base::out | std::ios_base::binary);
    EXPECT_EQ(std::filesystem::file_size(directory.path("\u00E4\u20AC")), 0U);
}

} // namespace
