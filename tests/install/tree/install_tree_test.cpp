// What InstallTree leaves on disk, compared with serialize; what it reports; two installers at
// once.

#include "install/tree/install_tree.hpp"

#include "install/product_impl/utils/json_file.hpp"
#include "install/tree/health.hpp"
#include "install/tree/prune.hpp"
#include "install/tree/repair.hpp"
#include "support/disk_calls.hpp"
#include "support/failing_allocation.hpp"
#include "support/failure.hpp"
#include "support/trees.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace install::tree;
using namespace test;
namespace fs = std::filesystem;

// Few names, so that products meet their own entries, documents and basecodes again.
ProductSelection random_selection(std::mt19937& random) {
    const install::ustring names[] = {u"A", u"/B//b", u"./in/folder", u"\u00E4\"\\", u""};
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
        auto files = files_of(*together, ".old");
        files.erase(receipts);
        EXPECT_EQ(files, files_of(serialized));
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

// What replaces a file has its permissions and its owner; a link is replaced as if it were nothing.
TEST(TreeWrite, ReplacesAFileWithItsPermissionsAndOwner) {
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
    EXPECT_TRUE(chown(file.c_str(), 65534, 65534) == 0 || geteuid() != 0);
    fs::permissions(file, fs::perms(04640));
    fs::permissions(target, fs::perms(04777));
    const auto [mode, owner, group] = status(file);
    InstallTree(tree.upath()).write({selection(u"A", u"<new/>")});
    EXPECT_EQ(status(file), std::tuple(mode & ~mode_t{S_ISUID}, owner, group));
    EXPECT_EQ(status(link), status(tree.path(contents_map)));
    EXPECT_EQ(tree.content("target"), "<a/>locale");
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
    const TemporaryDirectory nowhere;
    EXPECT_EQ(test::kinds_of(InstallTree(nowhere.upath()).verify(all)), "missing ");
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
                subject.second = error.outcome() == tree_error::Outcome::committed;
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

// An upgrade is one change: documents that the new version lists, too, stay, and former selections
// of the old one go.
TEST(TreeApply, RemovesAndWrites) {
    const TemporaryDirectory directory;
    InstallTree tree(directory.upath());
    tree.write({selection(u"A"), selection(u"A b"), selection(u"B")});
    for (const char* const name : {"A 1 de.xml", "A b 1 de.xml", "A 1 x y.xml", "A 1 sub/de.xml"})
        directory.write(products + name, "former");
    directory.write("outside.xml", "");
    directory.write(contents_map,
                    R"({"A 1 hostpf":["appdata/products//A 1 hostpf.xml",4,"/outside.xml",)"
                    R"("/appdata/products/../../outside.xml","/appdata/products/)" +
                        std::string(300, 'n') + R"(","/appdata/products/A 1 hostpf.xml/x"],)" +
                        R"("A b 1 hostpf":[],"B 1 hostpf":[["/appdata/products/A 1 en.xml"]],)" +
                        R"("other":{"x":"/appdata/products/A 1 platform.xml"}})");
    directory.write(products + "A 1 platform.xml", "another program's");
    PreparedChange change = tree.prepare({{{"A 1 hostpf", "A"}}, {selection(u"C")}});
    std::string steps;
    for (const ChangeStep& step : change.steps())
        steps += name_of(step.kind) + std::string(step.is_document ? " * " : " ") +
                 step.path.substr(directory.path("appdata/").string().size()) + '\n';
    EXPECT_EQ(steps, "create * products/C 1 en.xml\n"
                     "create * products/C 1 hostpf.xml\n"
                     "replace prodcontents.json\n"
                     "replace installedProductData.json\n"
                     "replace receipts.json\n"
                     "create prodcontents.json.old\n"
                     "create installedProductData.json.old\n"
                     "create receipts.json.old\n"
                     "remove * products/A 1 de.xml\n"
                     "remove * products/A 1 hostpf.xml\n"
                     "remove * products/A 1 sub/de.xml\n");
    { const PreparedChange dropped = std::move(change); }
    EXPECT_FALSE(fs::exists(directory.path("appdata/.staging")));
    tree.apply({{{"A 1 hostpf", "A"}}, {selection(u"C")}});
    EXPECT_TRUE(directory.files().contains(products + "A 1 x y.xml"));
    EXPECT_TRUE(directory.files().contains(products + "A 1 platform.xml"));
    EXPECT_TRUE(directory.files().contains("outside.xml"));
    EXPECT_FALSE(directory.files().contains(products + "A 1 sub/de.xml"));
    EXPECT_EQ(tree.list().contents.size(), 2U);
    // Of what an entry lists, all goes: with any name, and if its folder is gone already.
    directory.write(products + "elsewhere/x y.xml", "");
    directory.write(contents_map, R"({"D 1 hostpf":["appdata/products/elsewhere/x y.xml",)"
                                  R"("appdata/products/gone/D 1 en.xml"]})");
    tree.remove({{"D 1 hostpf", {}}});
    EXPECT_FALSE(fs::exists(directory.path(products + "elsewhere/x y.xml")));
    EXPECT_FALSE(fs::exists(directory.path(products + "gone")));
    EXPECT_NE(directory.content("appdata/.lock").find(" 3\n"), std::string::npos); // changes
    // A damaged map is not taken for what is left of it.
    directory.write(contents_map, R"({"E 1 hostpf":[],)");
    EXPECT_THROW(static_cast<void>(tree.list()), tree_error);
    EXPECT_THROW(static_cast<void>(documents_of(directory.upath(), "E 1 hostpf")), tree_error);
}

TEST(TreeApply, SkipsTagsWithoutADocumentOrRefusesThem) {
    const TemporaryDirectory directory;
    ProductSelection typos = selection(u"A");
    typos.platforms = {"hostpf", "Hostpf\x1b"};
    typos.locale = "";
    ProductSelection more = selection(u"B");
    more.locale = "de";
    Options options;
    options.missing_documents = MissingDocuments::refuse;
    InstallTree strict(directory.upath(), options);
    EXPECT_EQ(failure_of<tree_error>([&] {
                  return strict.write({typos, more}), 0;
              }),
              "cannot write \"A 1 hostpf\" to " + directory.path("appdata").string() +
                  ": It has no document for the platform \"Hostpf\\x1b\", only for \"en\", "
                  "\"hostpf\". So it is with 1 tag more.");
    EXPECT_TRUE(fs::is_empty(directory.path()));
    EXPECT_TRUE(failure_of<tree_error>([&] {
                    return strict.write({more}), 0;
                }).ends_with(": It has no document for the locale \"de\", only for \"en\"."));
    typos.platforms.pop_back();
    strict.write({typos}); // no locale is wanted
    PreparedChange change = InstallTree(directory.upath()).prepare({{}, {more, more}});
    ASSERT_EQ(change.skipped().size(), 2U);
    EXPECT_EQ(change.skipped()[0].product + change.skipped()[1].tag, "B 1 hostpfde");
    change.commit();
    EXPECT_TRUE(change.skipped().empty());
}

TEST(TreeApply, ReportsProgressAndRollsBackWhatTheObserverEnds) {
    using Phase = Progress::Phase;
    const std::vector<Phase> all = {Phase::stage, Phase::flush, Phase::move, Phase::drop};
    struct Stop {};
    for (std::size_t last = 0; last <= all.size(); ++last) { // of the phases, or none
        const TemporaryDirectory directory;
        InstallTree(directory.upath()).write({selection(u"A")});
        const auto before = files_of(directory);
        std::vector<Phase> seen;
        std::size_t left = 0;
        Options options;
        options.on_progress = [&](const Progress& progress) {
            constexpr std::size_t totals[] = {8, 11, 8, 7};
            EXPECT_EQ(progress.total, totals[static_cast<std::size_t>(progress.phase)]);
            left = progress.total - progress.done;
            if (progress.done > 0)
                return;
            seen.push_back(progress.phase);
            if (last < all.size() && progress.phase == all[last])
                throw Stop();
        };
        InstallTree tree(directory.upath(), options);
        const auto write = [&] { tree.write({selection(u"A", u"<new/>")}); };
        if (last < 3) {
            EXPECT_THROW(write(), Stop);
            EXPECT_EQ(files_of(directory), before);
        } else {
            write(); // what is thrown while it drops the old files is ignored
            EXPECT_NE(files_of(directory), before);
            EXPECT_EQ(left, 0U);
        }
        const auto end = all.begin() + static_cast<std::ptrdiff_t>(std::min(last + 1, all.size()));
        EXPECT_EQ(seen, std::vector(all.begin(), end));
    }
}

TEST(TreeApply, CountsEveryFileOfEveryPhase) {
    const TemporaryDirectory directory;
    InstallTree(directory.upath()).write({selection(u"A"), selection(u"B")});
    Progress last;
    Options options;
    options.on_progress = [&](const Progress& progress) {
        const bool begins = progress.done == 0;
        EXPECT_GE(begins ? last.done : last.done + 1, begins ? last.total : progress.done);
        EXPECT_LE(progress.done, progress.total);
        EXPECT_GE(progress.total, 1U);
        last = progress;
        std::this_thread::sleep_for(std::chrono::milliseconds(51)); // so that no file is left out
    };
    InstallTree(directory.upath(), options)
        .apply({{{"A 1 hostpf", {}}}, {selection(u"B", u"<new/>"), selection(u"C")}});
    directory.write(products + "D 1 en.xml", "");
    prune(directory.upath(), RepairMode::apply, options);
    directory.write(contents_map, "{");
    repair(directory.upath(), RepairMode::apply, options);
    EXPECT_EQ(last.phase, Progress::Phase::drop);
    EXPECT_EQ(last.done, last.total);
}

// Writers and a remover that never pause, and readers beside them. Each change writes or removes a
// pair of products, so that every reading must have both of them, with one time, or none. Runs for
// as many seconds as KX_TEST_SECONDS says, or longer on a machine that is too busy for 20 of each,
// and prints the longest change and the longest reading.
TEST(Readers, AlwaysSeeAStateThatWasCommitted) {
    using Clock = std::chrono::steady_clock;
    const char* const seconds = std::getenv("KX_TEST_SECONDS");
    const TemporaryDirectory directory;
    InstallTree(directory.upath()).write({selection(u"first")});
    const auto end =
        Clock::now() + std::chrono::seconds(seconds != nullptr ? std::stoi(seconds) : 2);
    std::pair<std::atomic<int>, std::atomic<int>> changes;
    std::pair<std::atomic<int>, std::atomic<int>> readings;
    const auto repeat = [&](std::pair<std::atomic<int>, std::atomic<int>>& done, const auto& once) {
        InstallTree tree(directory.upath());
        for (auto begin = Clock::now(); begin < end || changes.first < 20 || readings.first < 20;
             begin = Clock::now(), ++done.first) {
            once(tree);
            const std::chrono::duration<double, std::micro> taken = Clock::now() - begin;
            done.second = std::max(done.second.load(), static_cast<int>(taken.count()));
        }
    };
    const auto write = [](char16_t letter, InstallTree& tree) {
        thread_local int count = 0;
        const install::ustring name = {letter, static_cast<char16_t>(u'a' + ++count % 20)};
        tree.write({selection(name + u'1'), selection(name + u'2')});
    };
    const auto remove = [](InstallTree& tree) {
        if (const std::string pair = tree.list().contents.front().key.substr(0, 2); pair != "fi")
            tree.remove({{pair + "1 1 hostpf", pair + "1"}, {pair + "2 1 hostpf", pair + "2"}});
    };
    const auto read = [&](const InstallTree& tree) {
        const Health health = inspect(directory.upath());
        EXPECT_EQ(kinds_of(health.problems) + kinds_of(health.notes), "");
        for (const Listing& listing : {health.listing, tree.list()}) {
            std::map<std::string, std::set<InstallTree::Time>> times;
            for (const auto& entry : listing.record)
                times[entry.basecode.substr(0, 2)].insert(entry.time);
            for (const auto& [pair, all] : times)
                EXPECT_EQ(all.size(), 1U) << pair;
            EXPECT_EQ(listing.record.size(), listing.contents.size());
            EXPECT_EQ(listing.record.size() + 1, 2 * times.size());
        }
    };
    std::vector<std::jthread> threads;
    for (const char16_t letter : {u'A', u'B'})
        threads.emplace_back(
            [&, letter] { repeat(changes, [&](InstallTree& tree) { write(letter, tree); }); });
    threads.emplace_back([&] { repeat(changes, remove); });
    for (int reader = 0; reader < 2; ++reader)
        threads.emplace_back([&] { repeat(readings, read); });
    threads.clear();
    std::printf("%d changes, at most %d us; %d readings, at most %d us\n", changes.first.load(),
                changes.second.load(), readings.first.load(), readings.second.load());
}

} // namespace
