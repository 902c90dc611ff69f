#include "support/failing_allocation.hpp"

#include <cstdlib>

namespace {

thread_local int allocations_until_failure = 0; // 0: none fails
thread_local bool failed = false;

} // namespace

namespace test {

FailingAllocation::FailingAllocation(int countdown) noexcept {
    failed = false;
    allocations_until_failure = countdown;
}

FailingAllocation::~FailingAllocation() {
    allocations_until_failure = 0;
}

bool FailingAllocation::has_failed() noexcept {
    return failed;
}

} // namespace test

void* operator new(std::size_t size) {
    if (allocations_until_failure > 0 && --allocations_until_failure == 0) {
        failed = true;
        throw std::bad_alloc();
    }
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
