// What is returned of files that cannot be read to their end, and of those that report a wrong
// size.

#include "fl/export.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <cerrno>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int calls_before_failure = -1; // none fails while it is negative
ssize_t bytes_read = 0;

} // namespace

// Takes the place of the C library's in the whole program.
extern "C" KX_EXPORT ssize_t read(int file, void* buffer, size_t size) {
    if (calls_before_failure == 0) {
        errno = EIO;
        return -1;
    }
    const ssize_t count = syscall(SYS_read, file, buffer, size);
    if (calls_before_failure > 0) {
        --calls_before_failure;
        bytes_read += count;
    }
    return count;
}

namespace {

using namespace install::product_impl::utils;

// The result of `operation` while the read after so many others fails.
template <class Operation>
auto with_failing_read(int calls, const Operation& operation) {
    bytes_read = 0;
    calls_before_failure = calls;
    auto result = operation();
    calls_before_failure = -1;
    return result;
}

TEST(Reading, ReturnsWhatCameBeforeAFailure) {
    const test::TemporaryDirectory directory;
    const std::string content(200000, '[');
    directory.write("file", content);
    const fl::ustring path = directory.upath("file");
    for (const int calls : {0, 1, 2, 3}) {
        const std::string text = with_failing_read(calls, [&] { return readFile(path); });
        EXPECT_EQ(text.size(), bytes_read);
        EXPECT_EQ(text, content.substr(0, text.size()));
        EXPECT_EQ(text.size() > 60000, calls > 0);
    }
    EXPECT_EQ(with_failing_read(100, [&] { return readFile(path); }), content);
    EXPECT_EQ(bytes_read, content.size()) << "each byte is read once";

    std::string text;
    const JsonFileDiagnosis diagnosis =
        with_failing_read(1, [&] { return diagnoseJsonFile(path, text); });
    EXPECT_EQ(diagnosis.state, JsonFileDiagnosis::State::unreadable);
    EXPECT_EQ(text.size(), bytes_read);
    EXPECT_EQ(diagnoseJsonFile(path, text).state, JsonFileDiagnosis::State::damaged);
    EXPECT_EQ(text, content);
}

TEST(Reading, DoesNotTrustTheReportedSize) {
    const test::TemporaryDirectory directory;
    directory.write("file", "");
    std::filesystem::resize_file(directory.path("file"), std::uintmax_t(8) << 40U); // 8 TiB
    const std::string text =
        with_failing_read(2, [&] { return readFile(directory.upath("file")); });
    EXPECT_EQ(text.size(), bytes_read);
}

TEST(Reading, WaitsForNoFifo) {
    const test::TemporaryDirectory directory;
    ASSERT_EQ(mkfifo(directory.path("fifo").c_str(), 0600), 0);
    alarm(20); // ends the program
    EXPECT_EQ(diagnoseJsonFile(directory.upath("fifo")).state,
              JsonFileDiagnosis::State::unreadable);
    alarm(0);
}

} // namespace
