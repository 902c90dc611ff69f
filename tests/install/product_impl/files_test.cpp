#include "install/product_impl/utils/files.hpp"

#include "install/product_impl/utils/json_file.hpp"
#include "support/failure.hpp"
#include "support/table.hpp"
#include "support/temporary_directory.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace install::product_impl::utils;
using install::ustring;

TEST(Files, KeepEveryByte) {
    const test::TemporaryDirectory directory;
    std::string bytes;
    for (int index = 0; index < 300000; ++index)
        bytes += static_cast<char>(index * 7 + index / 256);
    for (const std::string& text : {std::string(), std::string("\r\n\0\xEF\xBB\xBF", 6), bytes,
                                    bytes.substr(0, 8191), bytes.substr(0, 8192), std::string()}) {
        writeFile(directory.upath("\u00E4"), text);
        EXPECT_EQ(directory.content("\u00E4"), text);
        EXPECT_EQ(readFile(directory.upath("\u00E4")), text);
    }
}

TEST(Files, FailWithoutASign) {
    const test::TemporaryDirectory directory;
    writeFile(directory.upath("missing/file"), "text");
    writeFile(directory.upath(), "text"); // a directory
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    EXPECT_EQ(readFile(directory.upath("missing")), "");
    EXPECT_EQ(readFile(directory.upath()), "");
    ASSERT_TRUE(std::filesystem::exists("/dev/full"));
    writeFile(u"/dev/full", "text");
    writeFile(u"/dev/full", std::string(1 << 20, 'x'));
    EXPECT_THROW(static_cast<void>(readFile(ustring(u"/etc/passwd\0.json", 17))),
                 std::invalid_argument);
    EXPECT_THROW(writeFile(ustring(1, 0xD800), "text"), std::runtime_error);
}

TEST(Files, MakeTheParentDirectory) {
    const test::TemporaryDirectory directory;
    for (int repeat = 0; repeat < 2; ++repeat)
        createParentDirectory(fl::filesystem::path(directory.upath("a/b/file")));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path("a/b")));
    createParentDirectory(fl::filesystem::path(u"file")); // in the current directory
    directory.write("file", "");
    EXPECT_THROW(createParentDirectory(fl::filesystem::path(directory.upath("file/c/d"))),
                 std::filesystem::filesystem_error);
}

TEST(JsonFile, GivesTheObjectOrSaysWhatStandsThere) {
    const test::TemporaryDirectory directory;
    const auto read = [&](const std::string& name) {
        std::string members;
        const std::string failure = test::failure_of<std::runtime_error>([&] {
            members =
                test::dump(foundation::json::Value(getJsonObjFromFile(directory.upath(name))));
        });
        return failure == "none" ? members : failure;
    };
    for (const auto& row : test::read_table("json_files.tsv")) {
        directory.write("file", row[0]);
        const std::string failure = "invalid conversion: " + row[1] + " to object";
        EXPECT_EQ(read("file"), row[1][0] == '{' ? row[1] : failure) << row[0];
        EXPECT_EQ(directory.content("file"), row[0]);
    }
    EXPECT_EQ(read("missing"), "invalid conversion: undefined to object");
}

} // namespace
