// A change that is interrupted at any of its calls that change the disk leaves a tree that is, or
// that recover makes, entirely old or entirely new; and so does an interrupted recovery. Prints
// what became of each.

#include "install/tree/health.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/prune.hpp"
#include "install/tree/repair.hpp"
#include "support/durable_disk.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <regex>
#include <set>

namespace {

using namespace install::tree;
using namespace test;
namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>; // contents by relative paths
using Outcome = tree_error::Outcome;

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

extern const Scenario scenarios[7];
const Scenario scenarios[7] = {
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
     [](const TemporaryDirectory& tree) { repair(tree.upath(), RepairMode::apply); }},
    {"prune",
     [](const TemporaryDirectory& tree) {
         prepare_tree(tree);
         tree.write(products + "A 1 de.xml", "<earlier/>");
         tree.write(products + "in/gone 1 en.xml", "<gone/>");
     },
     [](const TemporaryDirectory& tree) { prune(tree.upath(), RepairMode::apply); }},
    {"upgrade", prepare_tree,
     [](const TemporaryDirectory& tree) {
         InstallTree(tree.upath())
             .apply({{{"A 1 hostpf", "A"}, {"B 1 hostpf", {}}},
                     {selection(u"A 2", u"<new/>"), selection(u"B", u"<new/>")}});
     }},
    {"rolled_back", prepare_tree, [](const TemporaryDirectory& tree) {
         const auto fail = [&] { // while somebody puts a file into a new folder
             tree.write(products + "in/another.lock", "");
             return ENOSPC;
         };
         const test::AtCall failing(4, fail, "renameat");
         EXPECT_THROW(scenarios[0].change(tree), tree_error);
     }}};

// What readers see of a tree, besides that a change was interrupted.
std::string reading(const TemporaryDirectory& tree) {
    if (!fs::exists(tree.path("appdata")))
        return "0";
    const Health health = inspect(tree.upath());
    std::string result = std::to_string(health.documents);
    for (const auto& entry : health.listing.contents)
        result += ' ' + entry.key;
    for (const auto& entry : health.listing.record)
        result += ' ' + entry.basecode;
    return result + std::regex_replace(kinds_of(health.problems), std::regex("interrupted "), "");
}

// How many of the calls at which a change can be interrupted are passed over.
int stride() {
    const char* const text = std::getenv("KX_TEST_STRIDE");
    return text == nullptr ? 1 : std::stoi(text);
}

// Calls `run` with 0, 1, 2, ... calls to pass, or with every step-th of these, as long as it
// returns that the change made more.
template <class Run>
void for_each_call(int step, const Run& run) {
    bool was_reached = true;
    for (int call = 0; was_reached; call += step) {
        SCOPED_TRACE(call);
        was_reached = run(call);
    }
}

constexpr int errors[] = {ENOSPC, EIO, EACCES, EPERM, ENOSYS};

class Interrupted : public testing::TestWithParam<Scenario> {
protected:
    Interrupted() {
        GetParam().prepare(prepared_);
        old_ = files_of(prepared_);
        const auto finished = copy_of(prepared_);
        GetParam().change(*finished);
        new_ = files_of(*finished);
        EXPECT_EQ(old_ == new_, GetParam().name == std::string("rolled_back"));
    }
    ~Interrupted() override {
        std::printf("| %s | %s | %d | %d | %d |\n", GetParam().name.c_str(), fault_, olds_, news_,
                    mixed_);
        EXPECT_EQ(mixed_, 0);
        EXPECT_TRUE(olds_ > 5 && (news_ > 0 || old_ == new_));
    }

    static void recover(const TemporaryDirectory& tree) { InstallTree(tree.upath()).recover(); }

    // Readers see before the recovery what they see after it.
    void recover_and_count(const TemporaryDirectory& tree) {
        const std::string seen = reading(tree);
        recover(tree);
        EXPECT_EQ(reading(tree), seen);
        const Files files = files_of(tree);
        ++(files == old_ ? olds_ : files == new_ ? news_ : mixed_);
    }

    bool dies(const TemporaryDirectory& tree, int call) const {
        return dies_at(call, [&] { GetParam().change(tree); });
    }

    // Counts what a power failure may leave while `change` runs on the tree.
    template <class Change>
    void count_after_failures(const TemporaryDirectory& tree, int subsets, const Change& change) {
        std::set<test::DurableDisk::Disk> states;
        {
            test::DurableDisk disk(tree);
            change(tree);
            disk.mark();
            for (const auto& moment : disk.moments)
                for (auto& state : moment.after_failure(subsets))
                    states.insert(std::move(state));
        }
        for (const auto& state : states) {
            const TemporaryDirectory left;
            state.write_to(left.path());
            recover_and_count(left);
        }
    }

    TemporaryDirectory prepared_;
    Files old_;
    Files new_;
    const char* fault_ = "";
    int olds_ = 0;
    int news_ = 0;
    int mixed_ = 0;
};

TEST_P(Interrupted, ByDeathAtAnyCall) {
    fault_ = "death";
    for_each_call(1, [&](int call) {
        const auto tree = copy_of(prepared_);
        const bool died = dies(*tree, call);
        recover_and_count(*tree);
        return died;
    });
}

TEST_P(Interrupted, ByAFailureOfAnyCall) {
    fault_ = "failure of one call, or of all from one on";
    for (const int error : errors)
        for (const bool always : {false, true})
            for_each_call(stride(), [&](int call) {
                const auto tree = copy_of(prepared_);
                bool is_made = true;
                bool was_reached = true;
                try {
                    const test::AtCall failing(
                        call, [&] { return error; }, "", always);
                    GetParam().change(*tree);
                    was_reached = failing.was_reached();
                } catch (const tree_error& failure) {
                    EXPECT_EQ(failure.code().value(), error);
                    EXPECT_NE(std::string(failure.what()).find(tree->path().string()),
                              std::string::npos);
                    is_made = failure.outcome() == Outcome::committed;
                    EXPECT_TRUE(always || failure.outcome() != Outcome::interrupted);
                    EXPECT_TRUE(always || is_made || files_of(*tree) == old_);
                }
                recover_and_count(*tree);
                EXPECT_EQ(files_of(*tree), is_made ? new_ : old_);
                return was_reached;
            });
}

TEST_P(Interrupted, ByAPowerFailure) {
    fault_ = "power failure";
    count_after_failures(*copy_of(prepared_), 64 / stride(), GetParam().change);
}

TEST_P(Interrupted, AndItsRecoveryByDeathOrAFailure) {
    fault_ = "death, then death or a failure of the recovery";
    for_each_call(stride(), [&](int first) {
        const auto left = copy_of(prepared_);
        const bool died = dies(*left, first);
        for_each_call(1, [&](int call) {
            const auto tree = copy_of(*left);
            const bool recovery_died = dies_at(call, [&] { recover(*tree); });
            recover_and_count(*tree);
            const auto other = copy_of(*left);
            try {
                const test::AtCall failing(call, [&] { return errors[call % 5]; });
                recover(*other);
            } catch (const tree_error& failure) {
                EXPECT_EQ(failure.code().value(), errors[call % 5]) << failure.what();
            }
            recover_and_count(*other);
            return recovery_died;
        });
        return died;
    });
}

TEST_P(Interrupted, AndItsRecoveryByAPowerFailure) {
    fault_ = "death, then power failure in the recovery";
    for_each_call(stride(), [&](int call) {
        const auto left = copy_of(prepared_);
        const bool died = dies(*left, call);
        count_after_failures(*left, 4, recover);
        return died;
    });
}

// Leaves out a flush or a renaming, or puts it off until after the next call.
class WithoutCall : public test::DiskObserver {
public:
    WithoutCall(int passing, int verdict) : passing_(passing), verdict_(verdict) {}
    int before(const test::DiskCall& call) override {
        const bool is_one = call.function.ends_with("sync") || call.function == "renameat";
        if (!is_one || passing_-- != 0)
            return 0;
        fs::path path = fs::read_symlink("/proc/self/fd/" + std::to_string(call.descriptor));
        if (call.name != nullptr)
            path /= call.name;
        label_ = call.function + ' ' + path.string();
        label_ = std::regex_replace(label_, std::regex("/[^ ]*/kx_test_[^/]*/?"), "");
        label_ = std::regex_replace(label_, std::regex("products/.*"), "products/*");
        return verdict_;
    }
    std::string label_; // empty: there was no such call

private:
    int passing_;
    int verdict_;
};

// What a change does with one call left out, or put off.
class Planted : public testing::Test {
protected:
    // Returns the call; nothing if there are not as many.
    std::string run(const Scenario& scenario, int call, int verdict, bool was_flushed_before) {
        const TemporaryDirectory tree;
        scenario.prepare(tree);
        old_ = files_of(tree);
        const auto finished = copy_of(tree);
        scenario.change(*finished);
        new_ = files_of(*finished);
        test::DurableDisk disk(tree);
        for (const auto& [name, text] : old_)
            if (!was_flushed_before && (!new_.contains(name) || new_[name] != text))
                disk.forget_text(tree.path(name));
        WithoutCall fault(call, verdict);
        try {
            scenario.change(tree);
            disk.mark();
            fails_ = false;
        } catch (const std::exception&) {
            fails_ = true;
        }
        moments_ = std::move(disk.moments);
        return fault.label_;
    }

    // Whether the tree has what neither the old nor the new one has, or not what was promised.
    [[nodiscard]] bool is_noticed_at(std::size_t moment, bool was_flushed_before,
                                     std::set<test::DurableDisk::Disk>& seen) const {
        const bool is_last = !fails_ && moment + 1 == moments_.size();
        for (const auto& state : moments_[moment].after_failure(2)) {
            if (!is_last && !seen.insert(state).second)
                continue;
            const TemporaryDirectory left;
            state.write_to(left.path());
            if (!was_flushed_before && !is_last && !fs::exists(left.path("appdata/.undo")))
                continue; // what an earlier writer lost
            try {
                InstallTree(left.upath()).recover();
            } catch (const tree_error&) {
                return true;
            }
            const Files files = files_of(left);
            if (files != new_ && (is_last || files != old_))
                return true;
        }
        return false;
    }

    [[nodiscard]] bool is_noticed(bool was_flushed_before) const {
        std::set<test::DurableDisk::Disk> seen;
        if (fails_)
            return true;
        for (std::size_t moment = moments_.size(); moment-- > 0;)
            if (is_noticed_at(moment, was_flushed_before, seen))
                return true;
        return false;
    }

    Files old_;
    Files new_;
    bool fails_ = false;
    std::vector<test::DurableDisk::Moment> moments_;
};

TEST_F(Planted, FaultsOfTheProtocolAreNoticed) {
    using Call = test::DiskObserver;
    const std::string ordered[] = {"fsync appdata", "renameat appdata/.undo",
                                   "renameat appdata/.staging"}; // before what comes next
    std::map<std::string, std::map<int, std::string>> scenarios_that_notice;
    for (const Scenario& scenario : scenarios)
        for (const int verdict : {Call::left_out, Call::put_off})
            for (const bool was_flushed_before : {true, false})
                for (int call = 0;; ++call) {
                    const std::string label = run(scenario, call, verdict, was_flushed_before);
                    if (label.empty()) {
                        EXPECT_FALSE(is_noticed(was_flushed_before));
                        break;
                    }
                    std::string& found = scenarios_that_notice[label][verdict];
                    const bool is_tried = verdict == Call::left_out || stride() == 1 ||
                                          std::ranges::count(ordered, label) > 0;
                    if (is_tried && found.empty() && is_noticed(was_flushed_before))
                        found = scenario.name + (was_flushed_before ? "" : " after serialize");
                }
    for (auto& [label, noticed] : scenarios_that_notice) {
        std::printf("| %s | %s | %s |\n", label.c_str(), noticed[Call::left_out].c_str(),
                    noticed[Call::put_off].c_str());
        EXPECT_NE(noticed[Call::left_out], "") << label;
    }
    for (const std::string& label : ordered)
        EXPECT_NE(scenarios_that_notice[label][Call::put_off], "") << label;
}

INSTANTIATE_TEST_SUITE_P(Changes, Interrupted, testing::ValuesIn(scenarios),
                         [](const auto& scenario) { return scenario.param.name; });

} // namespace
