#include "install/product_impl/utils/files.hpp"

#include "fl/export.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "support/failure.hpp"
#include "support/table.hpp"
#include "support/temporary_directory.hpp"
#include "support/values.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

#include <cerrno>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

thread_local int reads_left = -1; // how many succeed; negative where none fails
thread_local ssize_t bytes_read = 0;

} // namespace

// Takes the place of the C library's in the whole program.
extern "C" KX_EXPORT ssize_t read(int file, void* buffer, size_t size) {
    if (reads_left == 0) {
        errno = EIO;
        return -1;
    }
    reads_left -= reads_left > 0 ? 1 : 0;
    const ssize_t count = syscall(SYS_read, file, buffer, size);
    bytes_read += count;
    return count;
}

namespace {

using namespace install::product_impl::utils;
using install::ustring;
using State = JsonFileDiagnosis::State;

TEST(Files, KeepEveryByte) {
    const test::TemporaryDirectory directory;
    std::string bytes;
    for (int index = 0; index < 300000; ++index)
        bytes += static_cast<char>(index * 7 + index / 256);
    for (const std::string& text : {std::string(), std::string("\r\n\0\xEF\xBB\xBF", 6), bytes,
                                    bytes.substr(0, 65535), bytes.substr(0, 8192), std::string()}) {
        writeFile(directory.upath("\u00E4"), text);
        EXPECT_EQ(directory.content("\u00E4"), text);
        EXPECT_EQ(readFile(directory.upath("\u00E4")), text);
    }
}

TEST(Files, ReportNoFailure) {
    const test::TemporaryDirectory directory;
    for (const ustring& path : {directory.upath("missing/file"), directory.upath()}) {
        writeFile(path, "text");
        EXPECT_EQ(readFile(path), "");
    }
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    ASSERT_TRUE(std::filesystem::exists("/dev/full"));
    for (const std::size_t size : {4U, 1U << 20U})
        writeFile(u"/dev/full", std::string(size, 'x'));
    EXPECT_EQ(test::failure_of<std::invalid_argument>(
                  [] { return readFile(ustring(u"/etc/passwd\0.json", 17)); }),
              "path contains a NUL character after: /etc/passwd");
    EXPECT_THROW(writeFile(ustring(1, 0xD800), "text"), std::runtime_error);
    createParentDirectory(fl::filesystem::path(u"file")); // in the current directory
}

TEST(JsonFile, IsReadAndDiagnosedAsTheTableSays) {
    const test::TemporaryDirectory directory;
    const ustring path = directory.upath("file");
    for (const auto& row : test::read_table("json_files.tsv")) {
        SCOPED_TRACE(row[0]);
        directory.write("file", row[0]);
        const bool is_object = row[1][0] == '{';
        std::string members = "none";
        EXPECT_EQ(test::failure_of<std::runtime_error>([&] {
                      members = test::dump(foundation::json::Value(getJsonObjFromFile(path)));
                  }),
                  is_object ? "none" : "invalid conversion: " + row[1] + " to object");
        EXPECT_EQ(members, is_object ? row[1] : "none");
        const State otherwise = is_object ? State::object : State::no_object;
        for (const auto& diagnosis : {diagnoseJsonFile(path), diagnoseJson(row[0])}) {
            EXPECT_EQ(diagnosis.state, row[1] == "undefined" ? State::damaged : otherwise);
            std::ostringstream found;
            found << diagnosis.code << ' ' << diagnosis.offset << ' ' << diagnosis.line << ' '
                  << diagnosis.column << ' ' << diagnosis.ignored_bytes;
            EXPECT_EQ(found.str(), row[2]);
        }
    }
}

TEST(JsonFile, KeepsTheMembersBeforeTheDamage) {
    foundation::json::ValueMap members;
    for (const auto& [text, expected] :
         {std::pair(R"({"a":1,"b":2)", R"({"a":1})"),
          {R"({"kxdata":[1,2.5],"kxtype":"int8"})", R"({"kxdata":[1,2.5]})"}}) {
        EXPECT_EQ(diagnoseJson(text, members).state, State::damaged);
        EXPECT_EQ(test::dump(foundation::json::Value(members)), expected);
    }
}

TEST(JsonFile, IsMissingOrUnreadable) {
    const test::TemporaryDirectory directory;
    directory.write("file", "");
    std::filesystem::create_symlink("nowhere", directory.path("dangling"));
    std::filesystem::create_symlink("loop", directory.path("loop"));
    ASSERT_EQ(mkfifo(directory.path("fifo").c_str(), 0600), 0);
    const std::pair<State, const char*> missing = {State::missing, "There is no file."};
    const std::pair<State, const char*> other = {State::unreadable, "This is not a regular file."};
    alarm(20); // ends the program if it waits for the FIFO
    for (const auto& [name, expected] :
         {std::pair("missing/file", missing),
          {"file/below", missing},
          {"dangling", missing},
          {"loop", {State::unreadable, "The file cannot be opened."}},
          {"fifo", other},
          {"", other}}) { // the last is the directory itself
        const auto diagnosis = diagnoseJsonFile(directory.upath(name));
        EXPECT_EQ(diagnosis.state, expected.first) << name;
        EXPECT_EQ(diagnosis.text, expected.second) << name;
    }
    alarm(0);
    std::string text = "of another file";
    EXPECT_EQ(diagnoseJsonFile(ustring(), text).state, State::missing);
    EXPECT_EQ(text, "");
}

// Returns the result of `operation` where just so many reads succeed.
template <class Operation>
auto with_reads(int count, const Operation& operation) {
    bytes_read = 0;
    reads_left = count;
    auto result = operation();
    reads_left = -1;
    return result;
}

TEST(Files, ReturnWhatCameBeforeAFailure) {
    const test::TemporaryDirectory directory;
    const std::string content(200000, '[');
    directory.write("file", content);
    const fl::ustring path = directory.upath("file");
    for (const int count : {0, 1, 2, 3, 100}) { // the last reads all, and each byte once
        const std::string text = with_reads(count, [&] { return readFile(path); });
        EXPECT_EQ(text.size(), bytes_read);
        EXPECT_EQ(text, content.substr(0, count == 100 ? content.npos : text.size()));
        EXPECT_EQ(text.size() > 60000, count > 0);

        std::string diagnosed;
        const auto diagnosis = with_reads(count, [&] { return diagnoseJsonFile(path, diagnosed); });
        EXPECT_EQ(diagnosis.state, count == 100 ? State::damaged : State::unreadable);
        EXPECT_EQ(diagnosed, content.substr(0, static_cast<std::size_t>(bytes_read)));
        EXPECT_EQ(diagnosed.size() > 60000, count > 0);
    }
}

TEST(Files, ReportSizesThatAreNotTrusted) {
    const test::TemporaryDirectory directory;
    directory.write("file", "");
    std::filesystem::resize_file(directory.path("file"), std::uintmax_t(8) << 40U); // 8 TiB
    EXPECT_GT(with_reads(2, [&] { return readFile(directory.upath("file")); }).size(), 60000U);
}

} // namespace
