#include "support/failing_allocation.hpp"

#include <cstdlib>

namespace {

thread_local bool watched = false;
thread_local int allocations = 0;
thread_local int failing_allocation = 0;

} // namespace

namespace test {

FailingAllocation::FailingAllocation(int countdown) noexcept : countdown_(countdown) {
    allocations = 0;
    failing_allocation = countdown;
    watched = true;
}

FailingAllocation::~FailingAllocation() {
    watched = false;
}

int FailingAllocation::count() const noexcept {
    return allocations;
}

bool FailingAllocation::has_failed() const noexcept {
    return countdown_ > 0 && allocations >= countdown_;
}

} // namespace test

void* operator new(std::size_t size) {
    if (watched && ++allocations == failing_allocation)
        throw std::bad_alloc();
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
