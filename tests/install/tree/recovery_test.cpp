// What others do to a tree beside a change, and after one was interrupted.

#include "install/tree/health.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/repair.hpp"
#include "support/disk_calls.hpp"
#include "support/durable_disk.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace install::tree;
using namespace test;
namespace fs = std::filesystem;

void serialize(const ProductSelection& selection, const TemporaryDirectory& tree) {
    selection.product->serialize(tree.upath(), selection.platforms, selection.locale);
}

// A change of A and B that dies before its n-th renaming, of which the first makes `.undo`.
bool dies_while_moving(const TemporaryDirectory& tree, int call) {
    return dies_at(
        call,
        [&] {
            InstallTree(tree.upath())
                .apply({{{"B 1 hostpf", "B"}}, {selection(u"A", u"<new/>"), selection(u"D")}});
        },
        "renameat");
}

std::vector<std::string> names_in(const TemporaryDirectory& tree,
                                  const std::vector<std::string>& paths) {
    std::vector<std::string> names;
    for (const std::string& path : paths)
        names.push_back(path.substr(tree.path("appdata/").string().size()));
    return names;
}

class WrittenSince : public testing::TestWithParam<bool> {};

// What serialize wrote of the same products, or of another one, stays as it is, and is named.
TEST_P(WrittenSince, StaysAndIsNamed) {
    const bool is_same = GetParam();
    const std::vector<ProductSelection> written =
        is_same ? std::vector{selection(u"A", u"<new/>"), selection(u"D")}
                : std::vector{selection(u"later")};
    const TemporaryDirectory source;
    InstallTree(source.upath()).write({selection(u"A"), selection(u"B")});
    bool is_alive = false;
    for (int call = 1; !is_alive; ++call) {
        SCOPED_TRACE(call);
        const auto tree = copy_of(source);
        is_alive = !dies_while_moving(*tree, call);
        wait_for_later_time(*tree);
        for (const ProductSelection& each : written)
            serialize(each, *tree);
        const bool was_interrupted = fs::exists(tree->path("appdata/.undo"));
        const Health before = inspect(tree->upath());
        const std::vector<Fault> planned = repair(tree->upath()).notes;
        const auto recovery = InstallTree(tree->upath()).recover();
        EXPECT_EQ(recovery && recovery->was_rolled_back, was_interrupted);
        EXPECT_TRUE(InstallTree(tree->upath()).verify(written).empty());
        if (was_interrupted) {
            const auto kept = names_in(*tree, recovery->kept);
            EXPECT_NE(std::ranges::find(kept, "installedProductData.json"), kept.end());
            EXPECT_EQ(kinds_of(planned).find("other_writer "), 0U);
            EXPECT_NE(kinds_of(before.notes).find("other_writer "), std::string::npos);
        }
        // A product of the change that nobody wrote since is as it was, or is named.
        const Health health = inspect(tree->upath());
        const bool has_b = InstallTree(tree->upath()).verify({selection(u"B")}).empty();
        EXPECT_TRUE(has_b || !health.problems.empty() || is_alive);
    }
}

INSTANTIATE_TEST_SUITE_P(BySerialize, WrittenSince, testing::Bool(), [](const auto& is_same) {
    return is_same.param ? "OfTheSameProducts" : "OfAnother";
});

// Serialize knows no lock. Whenever it comes, what it wrote stays, or the change says that it came.
TEST(OtherProgram, BesideAChangeLosesNoEntry) {
    const auto other = selection(u"other");
    int failures = 0;
    bool was_reached = true;
    for (int call = 0; was_reached; ++call) {
        SCOPED_TRACE(call);
        const TemporaryDirectory tree;
        InstallTree(tree.upath()).write({selection(u"A")});
        wait_for_later_time(tree);
        try {
            const AtCall meanwhile(call, [&] {
                serialize(other, tree);
                return 0;
            });
            InstallTree(tree.upath()).write({selection(u"A", u"<new/>"), selection(u"B")});
            was_reached = meanwhile.was_reached();
        } catch (const tree_error& error) {
            ++failures;
            EXPECT_NE(std::string(error.what()).find("written it meanwhile"), std::string::npos);
        }
        EXPECT_TRUE(!was_reached || InstallTree(tree.upath()).verify({other}).empty());
    }
    EXPECT_GT(failures, 5);
}

// A failure to look at a file is no reason to take it for missing.
TEST(FailedLook, FailsTheWholeChange) {
    for (const int error : {EIO, EMFILE, ENOMEM, EACCES}) {
        bool was_reached = true;
        for (int call = 0; was_reached; ++call) {
            SCOPED_TRACE(call);
            const TemporaryDirectory tree;
            InstallTree(tree.upath()).write({selection(u"A"), selection(u"B")});
            const auto before = files_of(tree);
            try {
                const FailingLook failing(call, error);
                InstallTree(tree.upath()).remove({{"A 1 hostpf", "A"}});
                was_reached = failing.was_reached();
                EXPECT_FALSE(fs::exists(tree.path(products + "A 1 en.xml")));
                EXPECT_FALSE(fs::exists(tree.path(products + "A 1 hostpf.xml")));
                EXPECT_FALSE(
                    fs::exists(tree.path(receipts + ".damaged"))); // only malformed text is
            } catch (const tree_error& failure) {
                EXPECT_EQ(failure.code().value(), error);
                InstallTree(tree.upath()).recover();
                EXPECT_EQ(files_of(tree), before);
            }
        }
    }
}

// A reading is repeated where a change was made and rolled back meanwhile, which left the same
// files.
TEST(RolledBack, IsNoticedByReadersWithoutTheLock) {
    const TemporaryDirectory tree;
    InstallTree(tree.upath()).write({selection(u"A"), selection(u"B")});
    fs::create_hard_link(tree.path("appdata/.lock"), tree.path("other"));
    wait_for_later_time(tree);
    int readings = 0;
    InspectOptions options;
    options.contents = true;
    options.on_progress = [&](std::size_t done, std::size_t /*total*/) {
        if (done != 0 || ++readings > 1)
            return;
        const AtCall failing(
            4, [] { return ENOSPC; }, "renameat");
        EXPECT_THROW(InstallTree(tree.upath()).write({selection(u"A", u"<new/>")}), tree_error);
    };
    EXPECT_EQ(kinds_of(inspect(tree.upath(), options).problems), "");
    EXPECT_EQ(readings, 2);
}

// Where there are no links, neither for the change nor for its recovery, files are copied.
TEST(RolledBack, WithoutLinks) {
    const TemporaryDirectory source;
    InstallTree(source.upath()).write({selection(u"A"), selection(u"B")});
    const auto before = files_of(source);
    bool is_alive = false;
    for (int call = 1; !is_alive; ++call) {
        const auto tree = copy_of(source);
        const AtCall unlinkable(
            0, [] { return EPERM; }, "linkat", true);
        is_alive = !dies_while_moving(*tree, call);
        InstallTree(tree->upath()).recover();
        EXPECT_EQ(files_of(*tree) == before, !is_alive) << call;
    }
}

// So many files are flushed as one, or one by one where the system cannot, or does nothing.
TEST(ManyFiles, AreDurableOrTheChangeFails) {
    std::vector<ProductSelection> products_of_change;
    for (char16_t number = 0; number < 40; ++number)
        products_of_change.push_back(selection({u'P', static_cast<char16_t>(u'a' + number)}));
    for (const int error : {0, ENOSYS, EIO, int(DiskObserver::left_out)}) {
        const ReportedFileSystem type(error == DiskObserver::left_out ? FUSE_SUPER_MAGIC
                                                                      : EXT4_SUPER_MAGIC);
        std::vector<DurableDisk::Disk> states; // after a power failure
        {
            const TemporaryDirectory tree;
            DurableDisk disk(tree);
            const AtCall failing(
                0, [&] { return error; }, "syncfs", true);
            try {
                InstallTree(tree.upath()).write(products_of_change);
                EXPECT_NE(error, EIO);
                disk.mark();
                states = disk.moments.back().after_failure(1);
            } catch (const tree_error& failure) {
                EXPECT_EQ(failure.code().value(), EIO);
            }
        }
        for (const auto& state : states) {
            const TemporaryDirectory left;
            state.write_to(left.path());
            InstallTree(left.upath()).recover();
            EXPECT_TRUE(InstallTree(left.upath()).verify(products_of_change).empty());
        }
    }
}

// A folder of a lower layer cannot be renamed.
class UndoStays : public DiskObserver {
public:
    int before(const DiskCall& call) override {
        return call.function == "renameat" && std::string(call.from_name) == ".undo" ? EXDEV : 0;
    }
};

// Wherever it dies, then, the next one ends it.
TEST(RolledBack, WhereTheJournalCannotBeRenamed) {
    const TemporaryDirectory source;
    InstallTree(source.upath()).write({selection(u"A"), selection(u"B")});
    const auto before = files_of(source);
    ASSERT_TRUE(dies_while_moving(source, 3));
    bool is_alive = false;
    for (int call = 0; !is_alive; ++call) {
        SCOPED_TRACE(call);
        const auto tree = copy_of(source);
        const UndoStays layer;
        is_alive = !dies_at(call, [&] { InstallTree(tree->upath()).recover(); });
        EXPECT_EQ(kinds_of(inspect(tree->upath()).problems),
                  fs::exists(tree->path("appdata/.undo")) ? "interrupted " : "");
        InstallTree(tree->upath()).recover();
        EXPECT_EQ(files_of(*tree), before);
        EXPECT_FALSE(fs::exists(tree->path("appdata/.undo")));
    }
}

// What cannot be removed is in nobody's way.
TEST(Garbage, IsPutAsideUntilItCanBeRemoved) {
    const TemporaryDirectory tree;
    for (const int count : {1, 2}) {
        const AtCall failing(
            0, [] { return EIO; }, "unlinkat", true);
        tree.write("appdata/.staging/" + std::to_string(count), "");
        InstallTree(tree.upath()).write({selection(u"A")});
        EXPECT_TRUE(fs::exists(tree.path("appdata/.staging." + std::to_string(count))));
    }
    EXPECT_EQ(kinds_of(inspect(tree.upath()).notes), "interrupted interrupted ");
    InstallTree(tree.upath()).write({selection(u"B")});
    EXPECT_EQ(kinds_of(inspect(tree.upath()).notes), "");
}

// Whoever may work on a tree may work on what an interrupted change left there.
TEST(Permissions, OfTheJournalAreThoseOfAppdata) {
    const TemporaryDirectory tree;
    const mode_t mask = umask(0);
    InstallTree(tree.upath()).write({selection(u"A")});
    for (const auto& [mode, strict_mask] : {std::pair(02775U, 022U), std::pair(0755U, 077U)}) {
        fs::permissions(tree.path("appdata"), fs::perms(mode));
        fs::remove(tree.path("appdata/.lock"));
        umask(strict_mask);
        EXPECT_TRUE(dies_at(
            3,
            [&] {
                InstallTree(tree.upath()).write({selection(u"A", u"<new/>"), selection(u"in/B")});
            },
            "renameat"));
        for (const char* const folder : {"", "/old", "/old/products", "/files", "/files/products"})
            EXPECT_EQ(fs::status(tree.path(std::string("appdata/.undo") + folder)).permissions(),
                      fs::perms(mode))
                << folder;
        for (const char* const file : {".undo/manifest", ".undo/restored", ".lock"})
            EXPECT_EQ(fs::status(tree.path(std::string("appdata/") + file)).permissions(),
                      fs::perms(mode & 0666))
                << file;
        umask(0);
        InstallTree(tree.upath()).recover();
    }
    umask(mask);
}

// As long as it takes, and again and again asked.
TEST(TwoInstallers, WaitForAReaderUntilTheObserverEndsIt) {
    const TemporaryDirectory directory;
    InstallTree(directory.upath()).write({selection(u"A")});
    const int reader = open(directory.path("appdata/.lock").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(reader, LOCK_SH), 0);
    struct Cancelled {};
    int calls = 0;
    Options options;
    options.wait_at_most = std::chrono::milliseconds::max();
    options.on_wait = [&](std::int64_t process) {
        EXPECT_EQ(process, a_reader);
        if (++calls == 2)
            throw Cancelled();
        if (calls == 4)
            flock(reader, LOCK_UN);
    };
    InstallTree tree(directory.upath(), options);
    EXPECT_THROW(tree.write({selection(u"B")}), Cancelled);
    tree.write({selection(u"B")});
    EXPECT_EQ(calls, 4);
    close(reader);
}

} // namespace
