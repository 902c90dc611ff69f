#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "install/product_impl/utils/paths.hpp"
#include "support/temporary_directory.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace install::product_impl::utils;
using foundation::json::Value;
using foundation::json::ValueMap;
using install::ustring;

TEST(Paths, KeepEveryTextAsItIs) {
    EXPECT_EQ(getNameVersionPlatformKey(u"Sample Tool", u"2.5", u"en"), u"Sample Tool 2.5 en");
    EXPECT_EQ(getNameVersionPlatformKey(u"", u"", u""), u"  ");
    EXPECT_EQ(getXmlFileName(u" a ", u"", u"en"), u" a   en.xml");
    EXPECT_EQ(getContentsMapPath(u"/opt/kit").text(), u"/opt/kit/appdata/prodcontents.json");
    EXPECT_EQ(getContentsMapPath(u"").text(), u"appdata/prodcontents.json");
    EXPECT_EQ(getInstalledProdDataPath(u"/opt/kit/").text(),
              u"/opt/kit/appdata/installedProductData.json");
    const struct {
        ustring root;
        ustring name;
        ustring full;
        ustring relative;
    } rows[] = {
        {u"/opt/kit", u"T", u"/opt/kit/appdata/products/T 2 en.xml",
         u"/appdata/products/T 2 en.xml"},
        {u"/opt/kit/", u"T", u"/opt/kit/appdata/products/T 2 en.xml",
         u"appdata/products/T 2 en.xml"},
        {u"", u"a/b", u"appdata/products/a/b 2 en.xml", u"appdata/products/a/b 2 en.xml"},
    };
    for (const auto& [root, name, full, relative] : rows) {
        EXPECT_EQ(getXmlPath(root, name, u"2", u"en").text(), full);
        EXPECT_EQ(getRelativeXmlPath(root, name, u"2", u"en").text(), relative);
    }
    EXPECT_THROW(static_cast<void>(getXmlPath(u"/opt", u"../../etc", u"2", u"en")),
                 std::invalid_argument);
}

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
    EXPECT_EQ(directory.files(), std::set<std::string>());
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
    createParentDirectory(fl::filesystem::path(directory.upath("a/b/file")));
    EXPECT_TRUE(std::filesystem::is_directory(directory.path("a/b")));
    createParentDirectory(fl::filesystem::path(directory.upath("a/b/file")));
    EXPECT_FALSE(std::filesystem::exists(directory.path("a/b/file")));
    createParentDirectory(fl::filesystem::path(u"file")); // in the current directory
    directory.write("file", "");
    EXPECT_THROW(createParentDirectory(fl::filesystem::path(directory.upath("file/c/d"))),
                 std::filesystem::filesystem_error);
}

TEST(JsonFile, GivesTheObjectOrSaysWhatStandsThere) {
    const test::TemporaryDirectory directory;
    const struct {
        std::string text;
        std::string found; // empty: an object with the one member "a"
    } rows[] = {
        {R"({"a":1})", ""},
        {R"({"a":1} trailing {)", ""},
        {"", "undefined"},
        {" {}", "undefined"},
        {"\n{}", "undefined"},
        {"\xEF\xBB\xBF{}", "undefined"},
        {"// x\n{}", "undefined"},
        {R"({"a":1)", "undefined"},
        {R"({"a":1,/**/"b":2})", "undefined"},
        {"[1]", "array"},
        {"null", "null"},
        {"17", "double"},
        {R"("{}")", "string"},
    };
    for (const auto& [text, found] : rows) {
        directory.write("file", text);
        try {
            const ValueMap members = getJsonObjFromFile(directory.upath("file"));
            EXPECT_EQ(found, "") << text;
            ASSERT_EQ(members.size(), 1U) << text;
            EXPECT_EQ(members.at("a"), Value(1.0)) << text;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), "invalid conversion: " + found + " to object") << text;
        }
        EXPECT_EQ(directory.content("file"), text);
    }
    directory.write("file", "{}");
    EXPECT_TRUE(getJsonObjFromFile(directory.upath("file")).empty());
    EXPECT_THROW(static_cast<void>(getJsonObjFromFile(directory.upath("missing"))),
                 std::runtime_error);
}

} // namespace
