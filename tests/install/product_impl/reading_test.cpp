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

int reads_left = -1; // how many succeed; negative where none fails
ssize_t bytes_read = 0;

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
using State = JsonFileDiagnosis::State;

// The result of `operation` where just so many reads succeed.
template <class Operation>
auto with_reads(int count, const Operation& operation) {
    bytes_read = 0;
    reads_left = count;
    auto result = operation();
    reads_left = -1;
    return result;
}

TEST(Reading, ReturnsWhatCameBeforeAFailure) {
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
        EXPECT_EQ(diagnosed, text);
    }
}

TEST(Reading, DoesNotTrustTheReportedSize) {
    const test::TemporaryDirectory directory;
    directory.write("file", "");
    std::filesystem::resize_file(directory.path("file"), std::uintmax_t(8) << 40U); // 8 TiB
    EXPECT_GT(with_reads(2, [&] { return readFile(directory.upath("file")); }).size(), 60000U);
}

TEST(Reading, WaitsForNoFifo) {
    const test::TemporaryDirectory directory;
    ASSERT_EQ(mkfifo(directory.path("fifo").c_str(), 0600), 0);
    alarm(20); // ends the program
    EXPECT_EQ(diagnoseJsonFile(directory.upath("fifo")).state, State::unreadable);
    alarm(0);
}

} // namespace
