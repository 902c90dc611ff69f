// What the reader makes of a text.

#pragma once

#include "foundation/json/detail/parse_value.hpp"
#include "support/values.hpp"

#include <string>

namespace test {

/// Result code, the offset where reading stopped, and the output, which held a string before.
struct Reading {
    foundation::json::detail::parse_result code = 0;
    std::size_t stop = 0;
    foundation::json::Value out = foundation::json::Value(std::string("untouched"));

    bool operator==(const Reading&) const = default;
};

/// Reads `text` by `operation`, which is called as parse_value is. `after` follows the end of the
/// text, where the reader must not look.
template <class Operation>
Reading read_by(const Operation& operation, const std::string& text, bool allow_comments,
                const std::string& after = "1") {
    Reading reading;
    const std::string all = text + after;
    auto pos = all.begin();
    const auto end = pos + static_cast<std::ptrdiff_t>(text.size());
    reading.code = operation(reading.out, pos, end, allow_comments);
    reading.stop = static_cast<std::size_t>(pos - all.begin());
    return reading;
}

inline Reading read(const std::string& text, bool allow_comments = false,
                    const std::string& after = "1") {
    return read_by(
        [](auto&&... arguments) { return foundation::json::detail::parse_value(arguments...); },
        text, allow_comments, after);
}

} // namespace test
