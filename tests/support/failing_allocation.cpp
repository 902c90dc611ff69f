#include "support/failing_allocation.hpp"

#include <cstdlib>

namespace {

thread_local int countdown_to_failure = 0; // none fails from 0 down

} // namespace

namespace test {

FailingAllocation::FailingAllocation(int countdown) noexcept {
    countdown_to_failure = countdown;
}

FailingAllocation::~FailingAllocation() {
    countdown_to_failure = 0;
}

bool FailingAllocation::has_failed() const noexcept {
    return countdown_to_failure <= 0;
}

} // namespace test

void* operator new(std::size_t size) {
    void* const memory = countdown_to_failure > 0 && --countdown_to_failure == 0
                             ? nullptr
                             : std::malloc(size == 0 ? 1 : size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
