// Counts allocations, and makes one fail on demand. The program's operator new is replaced for
// good; outside a FailingAllocation it behaves as ever.

#pragma once

#include <new>

namespace test {

/// While it lives, the allocation number `countdown` of this thread raises std::bad_alloc, counted
/// from 1; all others succeed. With 0 none fails.
class FailingAllocation {
public:
    explicit FailingAllocation(int countdown) noexcept;
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// How many allocations have come by now, and whether the one that fails was among them.
    [[nodiscard]] int count() const noexcept;
    [[nodiscard]] bool has_failed() const noexcept;

private:
    int countdown_;
};

/// Runs `operation`, made anew by `prepare`, with the 1st, 2nd, 3rd, ... allocation failing, until
/// one run meets no failure. After each failed run calls `check` with what was prepared. Gives the
/// number of failed runs.
template <class Prepare, class Operation, class Check>
int fail_each_allocation(const Prepare& prepare, const Operation& operation, const Check& check) {
    for (int failed_runs = 0;; ++failed_runs) {
        auto subject = prepare();
        try {
            const FailingAllocation failing(failed_runs + 1);
            operation(subject);
            if (!failing.has_failed())
                return failed_runs;
        } catch (const std::bad_alloc&) { // the check tells what must hold now
        }
        check(subject);
    }
}

} // namespace test
