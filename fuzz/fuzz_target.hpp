// What the fuzz targets have in common.

#pragma once

#include "foundation/json/detail/parse_value.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// The entry of every fuzz target: takes any bytes, and aborts where the library breaks a promise.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline void require(bool holds, const char* promise) {
    if (holds)
        return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

struct Reading {
    foundation::json::Value out;
    foundation::json::detail::parse_result code;
    std::size_t stop;
};

/// Reads `text` into a Value that holds the string "untouched". `behind` stands behind the end of
/// the text, where the reader must not look.
inline Reading read(const std::string& text, bool allow_comments, char behind = '1') {
    Reading reading = {foundation::json::Value(std::string("untouched")), 0, 0};
    const std::string all = text + behind;
    auto pos = all.begin();
    const auto end = all.end() - 1;
    reading.code = foundation::json::detail::parse_value(reading.out, pos, end, allow_comments);
    reading.stop = static_cast<std::size_t>(pos - all.begin());
    return reading;
}

} // namespace fuzz
