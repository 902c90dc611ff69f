// What the fuzz targets have in common.

#pragma once

#include "support/reading.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// The entry of every fuzz target: takes any bytes, and aborts where the library does not keep a
/// promise.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline void require(bool holds, const char* promise) {
    if (holds)
        return;
    std::fprintf(stderr, "promise not kept: %s\n", promise);
    std::abort();
}
