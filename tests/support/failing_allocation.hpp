// Makes one allocation fail. The program's operator new is replaced for good.

#pragma once

#include <cstddef>
#include <new>

namespace test {

/// The allocation of this thread that throws std::bad_alloc, counted from 1; none does from 0 down.
extern thread_local constinit int allocations_to_failure;

/// The size of the allocation that failed last in this thread.
extern thread_local constinit std::size_t failed_size;

/// The size of all allocations of this thread together.
extern thread_local constinit std::size_t allocated_size;

/// Runs `operation` on what `prepare` returns, with the 1st, 2nd, 3rd, ... allocation failing,
/// until a run meets no failure. After each failed run calls `check` with what was prepared.
/// Returns the number of failed runs.
template <class Prepare, class Operation, class Check>
int fail_each_allocation(const Prepare& prepare, const Operation& operation, const Check& check) {
    for (int failed_runs = 0;; ++failed_runs) {
        auto subject = prepare();
        try {
            allocations_to_failure = failed_runs + 1;
            operation(subject);
        } catch (const std::bad_alloc&) { // the check decides whether all is as it must be
        }
        if (allocations_to_failure > 0) {
            allocations_to_failure = 0;
            return failed_runs;
        }
        check(subject);
    }
}

} // namespace test
