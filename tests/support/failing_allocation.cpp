#include "support/failing_allocation.hpp"

#include <cstdlib>

// Here, so that a program that uses it is linked with the operators below.
thread_local constinit int test::allocations_to_failure = 0;
thread_local constinit std::size_t test::failed_size = 0;
thread_local constinit std::size_t test::allocated_size = 0;

void* operator new(std::size_t size) {
    const bool fails = test::allocations_to_failure > 0 && --test::allocations_to_failure == 0;
    test::allocated_size += size;
    test::failed_size = fails ? size : test::failed_size;
    void* const memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
