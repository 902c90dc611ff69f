#include "install/product_impl/utils/files.hpp"

#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "support/failure.hpp"
#include "support/table.hpp"
#include "support/temporary_directory.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

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
        createParentDirectory(fl::filesystem::path(directory.upath("a/\u00E4/file")));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path("a/\u00E4")));
    createParentDirectory(fl::filesystem::path(u"file")); // in the current directory
    directory.write("file", "");
    const std::string failure = test::failure_of<std::filesystem::filesystem_error>(
        [&] { createParentDirectory(fl::filesystem::path(directory.upath("file/c/d"))); });
    EXPECT_NE(failure.find(directory.path("file/c")), std::string::npos) << failure;
}

TEST(JsonFile, IsReadAndDiagnosedAsTheTableSays) {
    using State = JsonFileDiagnosis::State;
    const test::TemporaryDirectory directory;
    const ustring path = directory.upath("file");
    std::string members;
    const auto read = [&] {
        members = test::dump(foundation::json::Value(getJsonObjFromFile(path)));
    };
    EXPECT_EQ(test::failure_of(read), "invalid conversion: undefined to object"); // no file
    for (const auto& row : test::read_table("json_files.tsv")) {
        SCOPED_TRACE(row[0]);
        directory.write("file", row[0]);
        const bool is_object = row[1][0] == '{';
        EXPECT_EQ(test::failure_of<std::runtime_error>(read),
                  is_object ? "none" : "invalid conversion: " + row[1] + " to object");
        EXPECT_TRUE(!is_object || members == row[1]) << members;
        EXPECT_EQ(directory.content("file"), row[0]);

        const JsonFileDiagnosis diagnosis = diagnoseJsonFile(path);
        const State otherwise = is_object ? State::object : State::no_object;
        EXPECT_EQ(diagnosis.state, row[1] == "undefined" ? State::damaged : otherwise);
        std::string found;
        for (const std::size_t number : {static_cast<std::size_t>(diagnosis.code), diagnosis.offset,
                                         diagnosis.line, diagnosis.column, diagnosis.ignored_bytes})
            found += std::to_string(number) + " ";
        EXPECT_EQ(found, row[2] + " " + row[3] + " " + row[4] + " " + row[5] + " " + row[6] + " ");
    }
}

TEST(JsonFile, IsMissingOrUnreadable) {
    using State = JsonFileDiagnosis::State;
    const test::TemporaryDirectory directory;
    directory.write("file", "");
    std::filesystem::create_symlink("nowhere", directory.path("dangling"));
    for (const char* name : {"missing/file", "file/below", "dangling"})
        EXPECT_EQ(diagnoseJsonFile(directory.upath(name)).state, State::missing) << name;
    EXPECT_EQ(diagnoseJsonFile(ustring()).state, State::missing);
    EXPECT_THROW(static_cast<void>(diagnoseJsonFile(ustring(u"a\0b", 3))), std::invalid_argument);
    std::filesystem::create_symlink("loop", directory.path("loop"));
    sockaddr_un address = {AF_UNIX, {}};
    directory.path("socket").string().copy(address.sun_path, sizeof address.sun_path - 1);
    const int socket_file = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(socket_file, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(socket_file);
    std::set<std::string> texts;
    for (const char* name : {"", "loop", "socket"}) { // a directory, not to be looked at or opened
        const JsonFileDiagnosis diagnosis = diagnoseJsonFile(directory.upath(name));
        EXPECT_EQ(diagnosis.state, State::unreadable) << name;
        texts.insert(diagnosis.text);
    }
    EXPECT_EQ(texts.size(), 3U);
}

} // namespace
