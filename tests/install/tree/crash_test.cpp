// A change that is interrupted at any of its calls that change the disk leaves a tree that recover
// makes entirely old or entirely new.

#include "install/tree/install_tree.hpp"
#include "install/tree/repair.hpp"
#include "support/disk_calls.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace install::tree;
using namespace test;
namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>; // contents by relative paths

// A tree with products A, B and C, written in two changes long ago.
void prepare_tree(const TemporaryDirectory& tree) {
    InstallTree(tree.upath()).write({selection(u"A", u"<a/>"), selection(u"B", u"<b/>")});
    InstallTree(tree.upath()).write({selection(u"C", u"<c/>")});
    tree.write(installed_record, R"({"A":1,"B":2,"C":3})");
}

struct Scenario {
    std::string name;
    void (*prepare)(const TemporaryDirectory&);
    void (*change)(const TemporaryDirectory&);
};

const Scenario scenarios[] = {
    {"write", prepare_tree,
     [](const TemporaryDirectory& tree) {
         InstallTree(tree.upath())
             .write({selection(u"A", u"<new/>"), selection(u"D", u"<d/>"),
                     selection(u"in/folder", u"<e/>")});
     }},
    {"first_write", [](const TemporaryDirectory&) {},
     [](const TemporaryDirectory& tree) {
         InstallTree(tree.upath()).write({selection(u"A", u"<a/>"), selection(u"B", u"<b/>")});
     }},
    {"remove", prepare_tree,
     [](const TemporaryDirectory& tree) {
         InstallTree(tree.upath()).remove({{"A 1 hostpf", "A"}, {"C 1 hostpf", {}}});
     }},
    {"repair",
     [](const TemporaryDirectory& tree) {
         prepare_tree(tree);
         const std::string text = tree.content(contents_map);
         tree.write(contents_map, text.substr(0, text.size() / 2));
     },
     [](const TemporaryDirectory& tree) { repair(tree.upath(), RepairMode::apply); }}};

// Lets the first calls pass and does something else before the next one.
class AtCall : public test::DiskObserver {
public:
    AtCall(int passing, std::function<int()> then) : passing_(passing), then_(std::move(then)) {}
    int before(const char* /*function*/) override { return passing_-- == 0 ? then_() : 0; }
    [[nodiscard]] bool was_reached() const { return passing_ < 0; }

private:
    int passing_;
    std::function<int()> then_;
};

// Runs `change` in a process of its own that dies before its n-th call. Returns whether it got
// there.
template <class Change>
bool dies_at(int call, const Change& change) {
    const pid_t child = fork();
    if (child == 0) {
        const AtCall dying(call, [] {
            _exit(1);
            return 0;
        });
        change();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    return WEXITSTATUS(status) == 1;
}

class Interrupted : public testing::TestWithParam<Scenario> {
protected:
    Interrupted() {
        GetParam().prepare(prepared_);
        old_ = files_of(prepared_);
        const auto finished = copy_of(prepared_);
        GetParam().change(*finished);
        new_ = files_of(*finished);
        EXPECT_NE(old_, new_);
    }

    void recover_and_expect_old_or_new(const TemporaryDirectory& tree) {
        InstallTree(tree.upath()).recover();
        const Files files = files_of(tree);
        (files == new_ ? news_ : olds_) += 1;
        EXPECT_EQ(files, files == new_ ? new_ : old_);
    }

    TemporaryDirectory prepared_;
    Files old_;
    Files new_;
    int olds_ = 0;
    int news_ = 0;
};

TEST_P(Interrupted, ByDeathAtAnyCall) {
    bool died = true;
    for (int call = 0; died; ++call) {
        SCOPED_TRACE(call);
        const auto tree = copy_of(prepared_);
        died = dies_at(call, [&] { GetParam().change(*tree); });
        recover_and_expect_old_or_new(*tree);
    }
    EXPECT_GT(olds_, 5);
    EXPECT_GT(news_, 5);
}

TEST_P(Interrupted, ByDeathOfTheRecoveryToo) {
    bool died = true;
    for (int call = 0; died; ++call) {
        const auto left = copy_of(prepared_);
        died = dies_at(call, [&] { GetParam().change(*left); });
        bool recovery_died = true;
        for (int recovering = 0; recovery_died; ++recovering) {
            SCOPED_TRACE(std::to_string(call) + ", " + std::to_string(recovering));
            const auto tree = copy_of(*left);
            recovery_died = dies_at(recovering, [&] { InstallTree(tree->upath()).recover(); });
            recover_and_expect_old_or_new(*tree);
        }
    }
}

TEST_P(Interrupted, ByAFailureOfAnyCall) {
    for (const int error : {ENOSPC, EIO, EACCES, EPERM, ENOSYS}) {
        bool reached = true;
        for (int call = 0; reached; ++call) {
            SCOPED_TRACE(std::to_string(error) + " at " + std::to_string(call));
            const auto tree = copy_of(prepared_);
            try {
                const AtCall failing(call, [&] { return error; });
                GetParam().change(*tree);
                reached = failing.was_reached();
            } catch (const tree_error& failure) {
                EXPECT_EQ(failure.code().value(), error);
                EXPECT_NE(std::string(failure.what()).find(tree->path().string()),
                          std::string::npos);
                EXPECT_TRUE(failure.is_committed() || files_of(*tree) == old_);
            }
            recover_and_expect_old_or_new(*tree);
        }
    }
}

// What is on the disk for sure: the contents of a file when it was last flushed, and the names in a
// directory when that was. When the power fails all else is lost; but the system may have written
// any directory earlier than it was asked to.
class DurableDisk : public test::DiskObserver {
public:
    DurableDisk(const TemporaryDirectory& tree, bool has_syncfs, bool removes_early)
        : root_(tree.path()),
          has_syncfs_(has_syncfs),
          removes_early_(removes_early) {
        flush_all(root_);
    }

    int before(const char* function) override {
        states.push_back(files_below(inode(root_)));
        return !has_syncfs_ && function == std::string("syncfs") ? ENOSYS : 0;
    }

    void after(const char* function, int descriptor, const char* name) override {
        const std::string call = function;
        const fs::path path = name == nullptr || call == "openat"
                                  ? fs::path("/proc/self/fd") / std::to_string(descriptor)
                                  : fs::path("/proc/self/fd") / std::to_string(descriptor) / name;
        if (call == "fsync")
            flush(path);
        else if (call == "syncfs")
            flush_all(root_);
        else if (call == "mkdirat" || call == "openat") // the number may be that of a former file
            inodes_.erase(inode(path));
        else if (call == "unlinkat" && removes_early_)
            inodes_[inode(path.parent_path())].names.erase(path.filename());
    }

    std::vector<Files> states; // before each call

private:
    struct Inode {
        std::map<std::string, std::pair<ino_t, bool>> names; // number, and whether a directory
        std::string text;
    };

    static ino_t inode(const fs::path& path) {
        struct stat found {};
        EXPECT_EQ(stat(path.c_str(), &found), 0) << path;
        return found.st_ino;
    }

    void flush(const fs::path& path) {
        Inode& durable = inodes_[inode(path)];
        durable = {};
        if (!fs::is_directory(path))
            durable.text = (std::ostringstream() << std::ifstream(path).rdbuf()).str();
        else
            for (const auto& entry : fs::directory_iterator(path))
                durable.names[entry.path().filename()] = {inode(entry.path()),
                                                          entry.is_directory()};
    }

    void flush_all(const fs::path& directory) {
        flush(directory);
        for (const auto& entry : fs::recursive_directory_iterator(directory))
            flush(entry.path());
    }

    [[nodiscard]] Files files_below(ino_t directory, const std::string& prefix = "") {
        Files files;
        for (const auto& [name, child] : inodes_[directory].names) {
            if (child.second)
                files.merge(files_below(child.first, prefix + name + '/'));
            else
                files[prefix + name] = inodes_[child.first].text;
        }
        return files;
    }

    fs::path root_;
    bool has_syncfs_;
    bool removes_early_;
    std::map<ino_t, Inode> inodes_;
};

TEST_P(Interrupted, ByAFailureOfPower) {
    for (const int mode : {0, 1, 2, 3}) {
        const auto tree = copy_of(prepared_);
        std::vector<Files> states;
        {
            DurableDisk disk(*tree, (mode & 1) == 0, (mode & 2) != 0);
            GetParam().change(*tree);
            states = disk.states;
        }
        for (std::size_t call = 0; call < states.size(); ++call) {
            SCOPED_TRACE(call);
            const TemporaryDirectory left;
            for (const auto& [name, text] : states[call])
                left.write(name, text);
            recover_and_expect_old_or_new(left);
        }
    }
    EXPECT_GT(olds_, 5);
    EXPECT_GT(news_, 5);
}

INSTANTIATE_TEST_SUITE_P(Changes, Interrupted, testing::ValuesIn(scenarios),
                         [](const auto& scenario) { return scenario.param.name; });

} // namespace
