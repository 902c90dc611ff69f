// Trees on file systems whose names and contents a host may see late, after another host's change.

#include "install/tree/health.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/prune.hpp"
#include "install/tree/repair.hpp"
#include "support/disk_calls.hpp"
#include "support/failure.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <thread>

#include <linux/magic.h>

namespace {

using namespace install::tree;
using namespace test;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

// A tree with the product A, which another host has changed last, and its earlier contents map.
class OtherHost : public testing::Test {
protected:
    OtherHost() {
        InstallTree(tree.upath()).write({selection(u"earlier")});
        fs::copy(tree.path(contents_map), tree.path("earlier"));
        fs::last_write_time(tree.path("earlier"), fs::file_time_type::clock::now() - 1h);
        InstallTree(tree.upath()).write({selection(u"A")});
        say(" - ");
        options.cache_timeout = 1ms;
        options.on_wait = [this](std::int64_t process) {
            EXPECT_EQ(process, a_process_elsewhere);
            ++waits;
            see();
        };
    }

    // Leaves the text of another host, which is changing the tree, or is not.
    void say(const std::string& state) const {
        std::string text = tree.content("appdata/.lock");
        const auto second = text.find('\n') + 1;
        const auto boot = text.find(' ', second) + 1;
        text.replace(boot, 8, "00000000");
        const auto end = text.find('\n', second);
        const auto host = text.rfind(' ', end);
        const auto before = text.rfind(' ', host - 1);
        text.replace(before, end - before, state + "elsewhere");
        tree.write("appdata/.lock", text);
    }
    // What this host has in its caches is what was there before; and that it sees the change.
    void see_late() const {
        fs::rename(tree.path(contents_map), tree.path("latest"));
        fs::copy(tree.path("earlier"), tree.path(contents_map));
        fs::last_write_time(tree.path(contents_map), fs::last_write_time(tree.path("earlier")));
    }
    void see() const {
        if (fs::exists(tree.path("latest")))
            fs::rename(tree.path("latest"), tree.path(contents_map));
    }

    TemporaryDirectory tree;
    Options options;
    int waits = 0;
    ReportedFileSystem type{NFS_SUPER_MAGIC};
};

TEST_F(OtherHost, IsWaitedForBeforeAChange) {
    see_late();
    InstallTree(tree.upath(), options).write({selection(u"B")});
    EXPECT_EQ(waits, 1);
    InstallTree(tree.upath(), options).write({selection(u"C")}); // after one of its own
    EXPECT_EQ(waits, 1);
    EXPECT_EQ(InstallTree(tree.upath()).list().contents.size(), 4U);
}

TEST_F(OtherHost, IsNotOverwrittenByWhatIsStale) {
    const std::string refusal = "prodcontents.json: It differs from what another host left";
    see_late();
    options.on_wait = nullptr;
    InstallTree late(tree.upath(), options);
    EXPECT_NE(failure_of([&] { late.write({selection(u"B")}); }).find(refusal), std::string::npos);
    EXPECT_NE(failure_of([&] { return late.list(); }).find(refusal), std::string::npos);
    options.only_mount = true; // which its user has to know
    InstallTree(tree.upath(), options).write({selection(u"B")});
    EXPECT_EQ(InstallTree(tree.upath()).list().contents.size(), 2U);
}

// A program that leaves no text has written since; or the other host has died.
TEST_F(OtherHost, IsNotWaitedForInVain) {
    wait_for_later_time(tree);
    selection(u"B").product->serialize(tree.upath(), {"hostpf"}, "en");
    InstallTree(tree.upath(), options).write({selection(u"C")});
    say(" changing ");
    see_late();
    options.on_wait = nullptr;
    EXPECT_EQ(InstallTree(tree.upath(), options).list().contents.size(), 1U);
    InstallTree(tree.upath(), options).write({selection(u"D")});
}

// What looks wrong is looked at again.
TEST_F(OtherHost, IsSeenLateByReaders) {
    const std::string name = products + "A 1 en.xml";
    const auto has_a = [](const Listing& listing) { return listing.contents.size() == 2; };
    const std::function<bool()> readers[] = {
        [&] { return has_a(InstallTree(tree.upath()).list()); },
        [&] { return InstallTree(tree.upath()).verify({selection(u"A")}).empty(); },
        [&] { return inspect(tree.upath()).problems.empty(); },
        [&] { return !documents_of(tree.upath(), "A 1 hostpf").at(1).fault; },
        [&] { return has_a(repair(tree.upath()).listing); },
        [&] { return prune(tree.upath()).documents.empty(); }};
    for (const auto& reader : readers) {
        see_late();
        fs::rename(tree.path(name), tree.path("unseen"));
        std::thread other([&] {
            std::this_thread::sleep_for(20ms);
            fs::rename(tree.path("unseen"), tree.path(name));
            see();
        });
        EXPECT_TRUE(reader());
        other.join();
    }
}

// Each call that only looks fails once: a reader reports that, or looks again.
TEST_F(OtherHost, IsReadOrReported) {
    const auto is_whole = [](const std::vector<Fault>& faults) {
        return std::ranges::none_of(
            faults, [](const Fault& fault) { return fault.kind != Fault::Kind::unreadable; });
    };
    const std::function<bool()> readers[] = {
        [&] { return InstallTree(tree.upath(), options).list().contents.size() == 2; },
        [&] { return is_whole(InstallTree(tree.upath(), options).verify({selection(u"A")})); },
        [&] {
            const Health health = inspect(tree.upath());
            return health.problems.empty() || !health.is_complete;
        },
        [&] { return documents_of(tree.upath(), "A 1 hostpf").size() == 2; },
        [&] { return repair(tree.upath(), RepairMode::dry_run, options).steps.empty(); },
        [&] { return prune(tree.upath(), RepairMode::dry_run, options).documents.empty(); }};
    std::string text = tree.content("appdata/.lock");
    const auto time = text.find('\n') + 1;
    tree.write("appdata/.lock", text.replace(time, text.find(' ', time) - time, "1")); // long ago
    for (const auto& reader : readers)
        for (const int error : {EIO, ESTALE, EACCES}) {
            bool was_reached = true;
            for (int call = 0; was_reached; ++call) {
                const FailingLook failing(call, error);
                try {
                    EXPECT_TRUE(reader()) << &reader - readers << ' ' << call;
                } catch (const tree_error& failure) {
                    EXPECT_EQ(failure.code().value(), error) << failure.what();
                }
                was_reached = failing.was_reached();
            }
        }
}

class Unlisted : public DiskObserver {
public:
    int before_look(const DiskCall& call) override {
        return call.function == "openat" && std::string(call.name) == "." ? EIO : 0;
    }
};

// What fails for longer than a host may see late is reported as it is.
TEST_F(OtherHost, IsNotLookedForInVain) {
    const Unlisted folders;
    try {
        static_cast<void>(InstallTree(tree.upath(), options).list());
        ADD_FAILURE();
    } catch (const tree_error& failure) {
        EXPECT_EQ(failure.code().value(), EIO) << failure.what();
    }
}

// Where others cannot be told, nothing is changed.
TEST_F(OtherHost, MustBeTold) {
    fs::create_hard_link(tree.path("appdata/.lock"), tree.path("other"));
    const std::string failure =
        failure_of([&] { InstallTree(tree.upath(), options).write({selection(u"B")}); });
    EXPECT_NE(failure.find("Other hosts would not know of the change"), std::string::npos);
}

// Names of which a file system makes one.
TEST(Spelling, IsThatOfOneProduct) {
    const IgnoredCase exfat;
    const TemporaryDirectory directory;
    InstallTree tree(directory.upath());
    tree.write({selection(u"Tool")});
    const auto before = files_of(directory);
    for (const auto& change :
         {std::vector{selection(u"tool")}, std::vector{selection(u"other"), selection(u"Other")}})
        EXPECT_NE(failure_of([&] { tree.write(change); }).find("does not distinguish the name"),
                  std::string::npos);
    EXPECT_EQ(files_of(directory), before);
    tree.write({selection(u"Tool", u"<new/>")});

    // As serialize leaves two of them.
    std::string listed = directory.content(contents_map);
    listed.pop_back();
    for (const std::string tag : {"en", "hostpf"})
        listed += (tag == "en" ? R"(,"tool 1 hostpf":[")" : R"(",")") + products + "tool 1 " + tag +
                  ".xml";
    directory.write(contents_map, listed + R"("]})");
    EXPECT_EQ(kinds_of(inspect(directory.upath()).problems), "missing missing ");
    EXPECT_TRUE(prune(directory.upath()).documents.empty());
    tree.remove({{"Tool 1 hostpf", {}}});
    EXPECT_EQ(directory.content(products + "Tool 1 en.xml"), "<new/>locale");
    tree.remove({{"tool 1 hostpf", {}}});
    EXPECT_EQ(kinds_of(inspect(directory.upath()).problems), "not_listed not_listed ");
}

} // namespace
