// The time that the installed record holds.

#pragma once

#include <chrono>

namespace install {

// Returns the milliseconds since the Unix epoch, truncated towards zero.
inline long long milliseconds_since_epoch() {
    const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(since_epoch).count();
}

} // namespace install
