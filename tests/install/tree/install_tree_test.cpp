// What InstallTree leaves on disk, compared with serialize; what it reports; two installers at
// once.

#include "install/tree/install_tree.hpp"

#include "install/product_impl/utils/json_file.hpp"
#include "install/tree/health.hpp"
#include "support/failing_allocation.hpp"
#include "support/table.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <random>
#include <thread>

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace install::tree;
using namespace test;
namespace fs = std::filesystem;

// Few names, so that products meet their own entries, documents and basecodes again.
ProductSelection random_selection(std::mt19937& random) {
    const install::ustring names[] = {u"A", u"B b", u"in/folder", u"\u00E4\"\\", u""};
    const install::ustring codes[] = {u"", u"B", u"kxtype", u"code"};
    ProductSelection result =
        selection(names[random() % 5], install::ustring(random() % 3, u'x'), &codes[random() % 4]);
    const std::vector<std::string> platforms[] = {{}, {"hostpf"}, {"none"}, {"hostpf", "en", "en"}};
    result.platforms = platforms[random() % 4];
    result.locale = random() % 3 == 0 ? "none" : "en";
    return result;
}

TEST(TreeWrite, LeavesWhatSerializeOfEachLeaves) {
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    const std::string members[] = {"", R"("B":1.5e3,"z":[1.25,null])", R"("dup":1,"dup":2, "A":{})",
                                   R"("kxdata":[18446744073709551615],"kxtype":"uint64")"};
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const TemporaryDirectory serialized;
        fs::create_directory(serialized.path("appdata"));
        if (seed % 3 != 0) {
            serialized.write(contents_map, "{" + members[seed % 4] + "} trailing");
            serialized.write(installed_record, "{" + members[seed % 4] + "\n}");
        }
        const auto together = test::copy_of(serialized);
        const install::ustring end = seed % 2 == 0 ? u"" : u"/";
        for (auto changes = random() % 3 + 1; changes > 0; --changes) {
            std::vector<ProductSelection> selections(random() % 12);
            for (ProductSelection& each : selections) {
                each = random_selection(random);
                each.product->serialize(serialized.upath() + end, each.platforms, each.locale);
            }
            InstallTree tree(together->upath() + end);
            tree.write(selections);
            EXPECT_TRUE(tree.verify(selections).empty());
        }
        EXPECT_EQ(files_of(*together, ".old"), files_of(serialized));
    }
    std::setlocale(LC_ALL, "C");
}

// The reader takes the member kxdata for integers of the type that kxtype names.
TEST(TreeWrite, OfABasecodeThatWouldMakeTheRecordUnreadableChangesNothing) {
    const TemporaryDirectory tree;
    const install::ustring basecode = u"kxdata";
    tree.write(installed_record, R"({"kxtype":"int8"})");
    EXPECT_THROW(InstallTree(tree.upath()).write({selection(u"A", u"", &basecode)}), tree_error);
    EXPECT_EQ(tree.content(installed_record), R"({"kxtype":"int8"})");
    EXPECT_FALSE(tree.files().contains(contents_map));
}

// What replaces a file has its mode and its owner, and what replaces a link those of its file.
TEST(TreeWrite, ReplacesAFileWithItsModeAndOwner) {
    const TemporaryDirectory tree;
    const auto status = [](const fs::path& path) {
        struct stat found {};
        EXPECT_EQ(lstat(path.c_str(), &found), 0);
        return std::tuple(found.st_mode, found.st_uid, found.st_gid);
    };
    InstallTree(tree.upath()).write({selection(u"A")});
    EXPECT_EQ(fs::status(tree.path(products)).permissions() & fs::perms(0700), fs::perms(0700));
    const fs::path file = tree.path(products + "A 1 hostpf.xml");
    const fs::path link = tree.path(products + "A 1 en.xml");
    const fs::path target = tree.path("target");
    fs::rename(link, target);
    fs::create_symlink("../../target", link);
    EXPECT_TRUE(chown(file.c_str(), 65534, getegid()) == 0 || geteuid() != 0);
    EXPECT_TRUE(chown(target.c_str(), geteuid(), 65534) == 0 || geteuid() != 0);
    fs::permissions(file, fs::perms(0640));
    fs::permissions(target, fs::perms(0604));
    const auto old_file = status(file);
    InstallTree(tree.upath()).write({selection(u"A", u"<new/>")});
    EXPECT_EQ(status(file), old_file);
    EXPECT_EQ(status(link), status(target));
    EXPECT_EQ(tree.content("target"), "<a/>locale");
}

TEST(TreeRemove, RemovesDocumentsThatNoOtherEntryLists) {
    const TemporaryDirectory directory;
    InstallTree tree(directory.upath());
    tree.write({selection(u"A"), selection(u"B")});
    directory.write("outside.xml", "");
    directory.write(contents_map, R"({"A 1 hostpf":["/appdata/products/A 1 hostpf.xml",)"
                                  R"("/appdata/products/A 1 en.xml","/outside.xml",)"
                                  R"("/appdata/products/../../outside.xml"],)"
                                  R"("x":["appdata/products//A 1 en.xml"]})");
    tree.remove({{"A 1 hostpf", "B"}});
    EXPECT_TRUE(directory.content(contents_map).starts_with(R"({"x":)"));
    EXPECT_FALSE(directory.files().contains(products + "A 1 hostpf.xml"));
    EXPECT_TRUE(directory.files().contains(products + "A 1 en.xml"));
    EXPECT_TRUE(directory.files().contains("outside.xml"));
    const Listing listing = tree.list();
    EXPECT_TRUE(listing.contents.empty());
    ASSERT_EQ(listing.record.size(), 1U);
    EXPECT_EQ(listing.record[0].basecode, "A");
}

TEST(TreeVerify, FindsEachKindOfFault) {
    const TemporaryDirectory directory;
    InstallTree tree(directory.upath());
    const std::vector<ProductSelection> all = {selection(u"A"), selection(u"B"), selection(u"C")};
    tree.write(all);
    directory.write(products + "A 1 hostpf.xml", "");
    directory.write(products + "A 1 en.xml", "x");
    fs::remove(directory.path(products + "B 1 en.xml"));
    directory.write(contents_map, R"({"A 1 hostpf":["/x"],"C 1 hostpf":4})");
    directory.write(installed_record, R"({"A":5,"B":"x"})");
    const InstallTree::Time since(std::chrono::milliseconds(6));
    EXPECT_EQ(test::kinds_of(tree.verify(all, since)),
              "different empty missing different missing different old different missing ");
}

// The rows of tree_failures.tsv; each runs in a process of its own, which may lose rights and room.

void put(const TemporaryDirectory& tree, const std::string& kind, const std::string& path,
         const std::string& content) {
    if (kind != "directory")
        fs::remove(tree.path(path));
    if (kind == "directory")
        fs::create_directories(tree.path(path));
    else if (kind == "file")
        tree.write(path, content);
    else if (kind == "link")
        fs::create_symlink(content, tree.path(path));
    else if (kind == "FIFO")
        mkfifo(tree.path(path).c_str(), 0666);
}

// Returns false if this user may not do so.
bool mount_small_disk(const TemporaryDirectory& tree, const std::string& options) {
    const auto copy = test::copy_of(tree);
    const std::string path = tree.path();
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", path.c_str(), "tmpfs", 0, options.substr(0, options.find(',')).c_str()) != 0)
        return false;
    fs::copy(copy->path(), tree.path(), fs::copy_options::recursive);
    return !options.ends_with(",ro") ||
           mount("none", path.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
}

bool lose(const TemporaryDirectory& tree, const std::string& what, const std::string& argument) {
    if (what == "disk")
        return mount_small_disk(tree, argument);
    const rlimit few_files = {4, 256};
    if (what == "files")
        setrlimit(RLIMIT_NOFILE, &few_files);
    if (what != "rights")
        return true;
    for (const char* const path : {"", "appdata", "appdata/.lock"})
        chmod(tree.path(path).c_str(), 0777);
    chmod(tree.path(argument).c_str(), argument == "appdata" ? 0555 : 0);
    return geteuid() != 0 || seteuid(65534) == 0;
}

// Exits with 0 if writing fails as the row says, and the tree is as it was.
void fail(const TemporaryDirectory& tree, const std::vector<std::string>& row) {
    const auto before = files_of(tree);
    if (!lose(tree, row[5], row[6]))
        _exit(77);
    std::string what = "none";
    try {
        InstallTree(tree.upath())
            .write({selection(u"A", install::ustring(300000, u'x')), selection(u"B/folder")});
    } catch (const tree_error& error) {
        what = error.what();
    }
    EXPECT_EQ(seteuid(getuid()), 0);
    const rlimit many_files = {256, 256};
    setrlimit(RLIMIT_NOFILE, &many_files);
    const bool as_told = what.find(row[1]) != std::string::npos;
    if (!as_told)
        std::fprintf(stderr, "%s\n", what.c_str());
    std::exit(as_told && files_of(tree) == before ? 0 : 1);
}

TEST(TreeFailure, IsToldAndChangesNothing) {
    for (auto row : test::read_table("tree_failures.tsv")) {
        SCOPED_TRACE(row[0]);
        row.resize(7);
        const TemporaryDirectory tree;
        InstallTree(tree.upath()).write({selection(u"A")});
        if (row[2] != "-")
            put(tree, row[2], row[3], row[4]);
        const pid_t child = fork();
        if (child == 0)
            fail(tree, row);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFEXITED(status));
        if (WEXITSTATUS(status) == 77)
            std::printf("[  SKIPPED ] %s: this user may not cause it\n", row[0].c_str());
        else
            EXPECT_EQ(WEXITSTATUS(status), 0);
    }
}

TEST(TreeFailure, OfMemoryIsToldAndLeavesTheOldOrTheNewTree) {
    const TemporaryDirectory source;
    InstallTree(source.upath()).write({selection(u"A")});
    const auto before = files_of(source);
    const std::vector<ProductSelection> selections = {selection(u"A", u"<new/>"), selection(u"B")};
    int news = 0;
    const int failures_met = test::fail_each_allocation(
        [&] { return std::pair(test::copy_of(source), false); },
        [&](auto& subject) {
            try {
                InstallTree(subject.first->upath()).write(selections);
                subject.second = true;
            } catch (const tree_error& error) {
                subject.second = error.is_committed();
            }
        },
        [&](const auto& subject) {
            InstallTree tree(subject.first->upath());
            tree.recover();
            news += subject.second ? 1 : 0;
            EXPECT_EQ(files_of(*subject.first) == before, !subject.second);
            EXPECT_EQ(tree.verify(selections).empty(), subject.second);
        });
    EXPECT_GT(failures_met, 100);
    EXPECT_GT(news, 10);
}

// Writes `count` products, each in a change of its own.
void write_products(const TemporaryDirectory& directory, char16_t first_letter, int count) {
    InstallTree tree(directory.upath());
    for (int number = 0; number < count; ++number)
        tree.write({selection(first_letter + fs::path(std::to_string(number)).u16string())});
}

TEST(TwoInstallers, LoseNothingWhileAReaderAlwaysFindsWholeFiles) {
    constexpr int count = 100;
    const TemporaryDirectory directory;
    InstallTree(directory.upath()).write({selection(u"first")});
    for (const char16_t letter : {u'A', u'B'})
        if (fork() == 0) {
            write_products(directory, letter, count);
            _exit(0);
        }
    for (int running = 2, status = 0; running > 0;) {
        using install::product_impl::utils::getJsonObjFromFile;
        EXPECT_FALSE(getJsonObjFromFile(directory.upath(contents_map)).empty());
        EXPECT_FALSE(getJsonObjFromFile(directory.upath(installed_record)).empty());
        if (waitpid(-1, &status, WNOHANG) > 0) {
            EXPECT_EQ(status, 0);
            --running;
        }
    }
    const Health health = inspect(directory.upath());
    EXPECT_EQ(health.listing.contents.size(), 2U * count + 1);
    EXPECT_EQ(health.listing.record.size(), 2U * count + 1);
    EXPECT_TRUE(health.problems.empty());
}

TEST(TwoInstallers, InThreadsLoseNothing) {
    const TemporaryDirectory directory;
    std::vector<std::jthread> threads;
    for (char16_t letter = u'A'; letter < u'I'; ++letter)
        threads.emplace_back([&directory, letter] { write_products(directory, letter, 10); });
    threads.clear();
    EXPECT_EQ(InstallTree(directory.upath()).list().contents.size(), 80U);
}

TEST(TwoInstallers, WaitForEachOtherAndSayForWhom) {
    const TemporaryDirectory directory;
    InstallTree waiting(directory.upath());
    waiting.write({selection(u"A")});
    const int lock = open(directory.path("appdata/.lock").c_str(), O_RDONLY);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    std::int64_t owner = -1;
    waiting.on_wait([&](std::int64_t process) {
        owner = process;
        close(lock);
    });
    waiting.write({selection(u"B")});
    EXPECT_EQ(owner, getpid());
}

} // namespace
