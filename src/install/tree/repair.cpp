#include "install/tree/repair.hpp"

#include "install/tree/disk/layout.hpp"
#include "install/tree/journal/journal.hpp"
#include "install/tree/journal/recovery.hpp"
#include "install/tree/journal/view.hpp"
#include "install/tree/repair_plan.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <utility>

namespace install::tree {

namespace {

// Adds what becomes of an interrupted change.
void report_recovery(RepairReport& report, const Directory& appdata, const Recovery& recovery) {
    const char* const name = recovery.was_rolled_back ? tree_names::undo : tree_names::staging;
    report.steps.insert(report.steps.begin(),
                        {appdata.path_of(name), recovery.was_rolled_back
                                                    ? "Roll back the interrupted change."
                                                    : "Drop what an interrupted change left."});
    for (const std::string& path : recovery.kept)
        report.notes.push_back({Fault::Kind::other_writer, path,
                                "Another program wrote this after the change was interrupted. It "
                                "stays."});
}

// Returns what a repair of the tree would do.
RepairReport find_repair(const View& view) {
    if (view.fault())
        throw tree_error(*view.fault());
    const Directory& appdata = view.appdata();
    // What holds the lock is alive.
    const Remains remains = is_locked(appdata) ? Remains::none : find_remains(appdata);
    const View rolled_back(appdata, {}, remains == Remains::to_roll_back);
    RepairReport report = plan_repair(FoundTree(rolled_back)).report;
    if (remains != Remains::none)
        report_recovery(report, appdata,
                        {remains == Remains::to_roll_back, view.files_of_others()});
    return report;
}

RepairReport do_repair(Directory directory, const Options& options) {
    LockedTree locked(std::move(directory), options);
    const View view(locked.appdata);
    RepairPlan plan = plan_repair(FoundTree(view));
    if (!plan.report.steps.empty()) {
        Journal journal(locked.appdata, locked.lock, options);
        journal.announce(plan.tree.count_files_to_put());
        plan.tree.put_into(journal);
        journal.commit();
    }
    if (locked.recovery)
        report_recovery(plan.report, locked.appdata, *locked.recovery);
    return std::move(plan.report);
}

} // namespace

RepairReport repair(const ustring& installRoot, RepairMode mode, const Options& options) {
    Directory appdata = open_tree(Layout(installRoot));
    if (mode == RepairMode::apply)
        return do_repair(std::move(appdata), options);
    return read_committed(appdata, options, find_repair, [](const RepairReport& report) {
        return !report.steps.empty() || !report.remaining.empty();
    });
}

} // namespace install::tree
