// What InstallTree leaves on disk, compared with serialize; what it reports; two installers at
// once.

#include "install/tree/install_tree.hpp"

#include "install/product_impl/utils/json_file.hpp"
#include "install/tree/health.hpp"
#include "install/tree/repair.hpp"
#include "support/failing_allocation.hpp"
#include "support/failure.hpp"
#include "support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <random>
#include <regex>
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
using test::TemporaryDirectory;
namespace fs = std::filesystem;

const std::string contents_map = "appdata/prodcontents.json";
const std::string installed_record = "appdata/installedProductData.json";

ProductSelection selection(const install::ustring& name, const install::ustring& text = u"<a/>",
                           const install::ustring& basecode = u"") {
    install::datamodels::transitive_closure::Product model;
    model->basecode = basecode.empty() ? name : basecode;
    model->name = name;
    model->version = u"1";
    model->platformXmls = {{u"hostpf", text}, {u"en", text + u"platform"}};
    model->localeXmls = {{u"en", text + u"locale"}};
    return {std::make_shared<install::product_impl::ProductImpl>(model), {"hostpf"}, "en"};
}

// The files that serialize writes too. All times are the same.
std::map<std::string, std::string> files_of(const TemporaryDirectory& tree) {
    std::map<std::string, std::string> files;
    for (const std::string& name : tree.files())
        if (!name.ends_with(".lock") && !name.ends_with(".old") &&
            fs::is_regular_file(tree.path(name)))
            files[name] =
                std::regex_replace(tree.content(name), std::regex(":1[7-9][0-9]{11}"), ":NOW");
    return files;
}

// Few names, so that products meet their own entries, documents and basecodes again.
ProductSelection random_selection(std::mt19937& random) {
    const install::ustring names[] = {u"A", u"B b", u"in/folder", u"\u00E4\"\\", u""};
    const install::ustring codes[] = {u"", u"B", u"kxtype", u"code"};
    ProductSelection result =
        selection(names[random() % 5], install::ustring(random() % 3, u'x'), codes[random() % 4]);
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
        const TemporaryDirectory together;
        for (const TemporaryDirectory* const tree : {&serialized, &together}) {
            fs::create_directory(tree->path("appdata"));
            if (seed % 3 != 0) {
                tree->write(contents_map, "{" + members[seed % 4] + "} trailing");
                tree->write(installed_record, "{" + members[seed % 4] + "\n}");
            }
        }
        const install::ustring end = seed % 2 == 0 ? u"" : u"/";
        for (auto changes = random() % 3 + 1; changes > 0; --changes) {
            std::vector<ProductSelection> selections(random() % 5);
            for (ProductSelection& each : selections) {
                each = random_selection(random);
                each.product->serialize(serialized.upath() + end, each.platforms, each.locale);
            }
            InstallTree tree(together.upath() + end);
            tree.write(selections);
            EXPECT_TRUE(tree.verify(selections).empty());
        }
        EXPECT_EQ(files_of(together), files_of(serialized));
    }
    std::setlocale(LC_ALL, "C");
}

TEST(TreeWrite, ReplacesAFileWithItsMode) {
    const TemporaryDirectory tree;
    InstallTree(tree.upath()).write({selection(u"A")});
    const fs::path document = tree.path("appdata/products/A 1 hostpf.xml");
    fs::permissions(document, fs::perms(0640));
    fs::permissions(tree.path(contents_map), fs::perms(0444));
    InstallTree(tree.upath()).write({selection(u"A", u"<new/>")});
    EXPECT_EQ(fs::status(document).permissions(), fs::perms(0640));
    EXPECT_EQ(fs::status(tree.path(contents_map)).permissions(), fs::perms(0444));
    EXPECT_EQ(tree.content("appdata/products/A 1 hostpf.xml"), "<new/>");
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
    EXPECT_FALSE(directory.files().contains("appdata/products/A 1 hostpf.xml"));
    EXPECT_TRUE(directory.files().contains("appdata/products/A 1 en.xml"));
    EXPECT_TRUE(directory.files().contains("outside.xml"));
    const Listing listing = tree.list();
    EXPECT_TRUE(listing.contents.empty());
    ASSERT_EQ(listing.record.size(), 1U);
    EXPECT_EQ(listing.record[0].basecode, "A");
}

TEST(TreeVerify, FindsEachKindOfFault) {
    const TemporaryDirectory directory;
    InstallTree tree(directory.upath());
    tree.write({selection(u"A"), selection(u"B"), selection(u"C")});
    directory.write("appdata/products/A 1 hostpf.xml", "");
    directory.write("appdata/products/A 1 en.xml", "x");
    fs::remove(directory.path("appdata/products/B 1 en.xml"));
    directory.write(contents_map, R"({"A 1 hostpf":["/x"],"C 1 hostpf":4})");
    directory.write(installed_record, R"({"A":5,"B":"x"})");
    std::string kinds;
    for (const Fault& fault : tree.verify({selection(u"A"), selection(u"B"), selection(u"C")},
                                          InstallTree::Time(std::chrono::milliseconds(6))))
        kinds += describe(fault.kind) + std::string(" ");
    EXPECT_EQ(kinds, "different empty missing different missing different old different missing ");
}

// A failure that the system can be made to show.
struct Failure {
    const char* name;
    const char* message; // is part of what() of the error
    void (*damage)(const TemporaryDirectory&);
    void (*cause)(const TemporaryDirectory&); // takes rights or room from this process
};

// Exits with 0 if writing to the tree fails with the message, and the tree is as it was.
void write_fails(const TemporaryDirectory& directory, const Failure& failure) {
    std::string what = "none";
    const auto before = files_of(directory);
    failure.cause(directory);
    try {
        InstallTree(directory.upath())
            .write({selection(u"A", install::ustring(300000, u'x')), selection(u"B/folder")});
    } catch (const tree_error& error) {
        what = error.what();
    }
    static_cast<void>(seteuid(getuid()));
    const rlimit files = {256, 256};
    setrlimit(RLIMIT_NOFILE, &files);
    if (what.find(failure.message) == std::string::npos)
        std::fprintf(stderr, "%s: %s\n", failure.name, what.c_str());
    else
        _exit(files_of(directory) == before ? 0 : 2);
    _exit(1);
}

void mount_small_disk(const TemporaryDirectory& directory, unsigned long flags) {
    const std::string path = directory.path();
    const fs::path copy = path + ".copy";
    fs::copy(path, copy, fs::copy_options::recursive);
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", path.c_str(), "tmpfs", 0, "size=200k") != 0)
        _exit(77);
    fs::copy(copy, path, fs::copy_options::recursive);
    fs::remove_all(copy);
    if (flags != 0 && mount("none", path.c_str(), nullptr, MS_REMOUNT | flags, nullptr) != 0)
        _exit(77);
}

void lose_rights(const TemporaryDirectory& directory, const char* file, mode_t mode) {
    chmod(directory.path(file).c_str(), mode);
    chmod(directory.path().c_str(), 0755);
    if (geteuid() == 0 && seteuid(65534) != 0)
        _exit(77);
}

void nothing(const TemporaryDirectory&) {}

const Failure failures[] = {
    {"full disk", "No space left on device", nothing,
     [](const auto& tree) { mount_small_disk(tree, 0); }},
    {"read-only disk", "Read-only file system", nothing,
     [](const auto& tree) { mount_small_disk(tree, MS_RDONLY); }},
    {"no right to write", ".lock: Permission denied", nothing,
     [](const auto& tree) { lose_rights(tree, "appdata", 0555); }},
    {"no right to read", "prodcontents.json: Permission denied",
     [](const auto& tree) {
         chmod(tree.path("appdata").c_str(), 0777);
         chmod(tree.path("appdata/.lock").c_str(), 0666);
     },
     [](const auto& tree) { lose_rights(tree, contents_map.c_str(), 0); }},
    {"no more open files", "Too many open files", nothing,
     [](const auto&) {
         const rlimit none = {4, 256};
         setrlimit(RLIMIT_NOFILE, &none);
     }},
    {"directory in place of a document", "Is a directory",
     [](const auto& tree) {
         fs::create_directories(tree.path("appdata/products/B/folder 1 en.xml"));
     },
     nothing},
    {"file in place of a directory", "Not a directory",
     [](const auto& tree) { tree.write("appdata/products/B", ""); }, nothing},
    {"link to nowhere", "symbolic link to something that does not exist",
     [](const auto& tree) { fs::create_symlink("nowhere", tree.path("appdata/products/B")); },
     nothing},
    {"link to another disk", "Invalid cross-device link",
     [](const auto& tree) {
         fs::create_directory_symlink("/proc/self", tree.path("appdata/products/B"));
     },
     nothing},
    {"FIFO", "This is not a regular file.",
     [](const auto& tree) {
         fs::remove(tree.path(contents_map));
         mkfifo(tree.path(contents_map).c_str(), 0666);
     },
     nothing},
    {"no object", "prodcontents.json: invalid conversion: array to object",
     [](const auto& tree) { tree.write(contents_map, "[]"); }, nothing},
    {"link in place of the lock", "Too many levels of symbolic links",
     [](const auto& tree) {
         fs::remove(tree.path("appdata/.lock"));
         fs::create_symlink("other", tree.path("appdata/.lock"));
     },
     nothing},
    {"later version", "committed by a version of this library that is not known here",
     [](const auto& tree) { tree.write("appdata/.commit/manifest", "kxinstall_tree 2\n"); },
     nothing},
    {"manifest that climbs", ".commit/manifest: The file is damaged.",
     [](const auto& tree) {
         tree.write("appdata/.commit/manifest",
                    std::string("kxinstall_tree 1\nproducts/../../B\0", 34));
     },
     nothing},
};

TEST(TreeFailure, IsToldAndChangesNothing) {
    for (const Failure& failure : failures) {
        SCOPED_TRACE(failure.name);
        const TemporaryDirectory directory;
        InstallTree(directory.upath()).write({selection(u"A")});
        failure.damage(directory);
        const pid_t child = fork();
        if (child == 0)
            write_fails(directory, failure);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        if (WEXITSTATUS(status) == 77)
            std::printf("[  SKIPPED ] %s: this user may not cause it\n", failure.name);
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
        [&] {
            auto tree = std::make_unique<TemporaryDirectory>();
            fs::copy(source.path(), tree->path(), fs::copy_options::recursive);
            return std::pair(std::move(tree), true);
        },
        [&](auto& subject) {
            subject.second = false;
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
        tree.write({selection(install::ustring{first_letter} +
                              fs::path(std::to_string(number)).u16string())});
}

TEST(TwoInstallers, LoseNothingWhileAReaderAlwaysFindsWholeFiles) {
    constexpr int count = 100;
    const TemporaryDirectory directory;
    InstallTree(directory.upath()).write({selection(u"first")});
    pid_t children[2] = {};
    for (int each = 0; each < 2; ++each) {
        children[each] = fork();
        if (children[each] == 0) {
            write_products(directory, static_cast<char16_t>(u'A' + each), count);
            _exit(0);
        }
    }
    int running = 2;
    while (running > 0) {
        for (const std::string& name : {contents_map, installed_record})
            EXPECT_GE(
                install::product_impl::utils::getJsonObjFromFile(directory.upath(name)).size(), 1U);
        int status = 0;
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
    InstallTree(directory.upath()).write({selection(u"A")});
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
