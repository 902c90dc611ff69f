#include "install/tree/repair.hpp"

#include "install/tree/change/journal.hpp"
#include "install/tree/change/locked_tree.hpp"
#include "install/tree/exhausted_memory.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/repair_plan.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <utility>

namespace install::tree {

namespace {

RepairReport report_of(const Directory& appdata, Leftover leftover, const RepairPlan& plan) {
    RepairReport report = plan.report();
    if (leftover == Leftover::none)
        return report;
    const bool is_taken_back = leftover == Leftover::taken_back;
    const std::string name(is_taken_back ? tree_names::undo : tree_names::staging);
    report.steps.insert(report.steps.begin(),
                        {appdata.path_of(name), is_taken_back
                                                    ? "Take back the interrupted change."
                                                    : "Drop what an interrupted change left."});
    return report;
}

// Returns what a repair of the tree would do.
RepairReport find_repair(const View& view) {
    if (view.fault())
        throw tree_error(*view.fault());
    const Directory& appdata = view.appdata();
    FoundTree tree(view);
    // What holds the lock is alive.
    const Leftover leftover = is_locked(appdata) ? Leftover::none : leftover_in(appdata);
    return report_of(appdata, leftover, RepairPlan(tree));
}

RepairReport do_repair(Directory directory, const Options& options) {
    LockedTree locked(std::move(directory), options);
    const View view(locked.appdata);
    FoundTree tree(view);
    const RepairPlan plan(tree);
    if (!plan.report().steps.empty()) {
        Journal journal(locked.appdata, locked.lock, options.durability, options.on_progress);
        plan.put_into(journal);
        journal.commit();
    }
    return report_of(locked.appdata, locked.leftover, plan);
}

} // namespace

RepairReport repair(const ustring& installRoot, RepairMode mode, const Options& options) {
    const Layout layout(installRoot);
    return reporting_exhausted_memory("repair", layout.appdata, [&] {
        Directory appdata = open_tree(layout);
        if (mode == RepairMode::apply)
            return do_repair(std::move(appdata), options);
        return read_committed(appdata, find_repair);
    });
}

} // namespace install::tree
