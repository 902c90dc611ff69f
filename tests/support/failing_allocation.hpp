// Makes one allocation fail. The program's operator new is replaced for good; outside a
// FailingAllocation it behaves as ever.

#pragma once

#include <new>

namespace test {

/// While it lives, the allocation number `countdown` of this thread, counted from 1, throws
/// std::bad_alloc; all others succeed.
class FailingAllocation {
public:
    explicit FailingAllocation(int countdown) noexcept;
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether that allocation has come.
    [[nodiscard]] bool has_failed() const noexcept;
};

/// Runs `operation` on what `prepare` returns, with the 1st, 2nd, 3rd, ... allocation failing,
/// until a run meets no failure. After each failed run calls `check` with what was prepared.
/// Returns the number of failed runs.
template <class Prepare, class Operation, class Check>
int fail_each_allocation(const Prepare& prepare, const Operation& operation, const Check& check) {
    for (int failed_runs = 0;; ++failed_runs) {
        auto subject = prepare();
        try {
            const FailingAllocation failing(failed_runs + 1);
            operation(subject);
            if (!failing.has_failed())
                return failed_runs;
        } catch (const std::bad_alloc&) { // the check decides whether all is as it must be
        }
        check(subject);
    }
}

} // namespace test
