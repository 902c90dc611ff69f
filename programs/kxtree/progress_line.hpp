// Progress, for those who wait.

#pragma once

#include <chrono>
#include <cstddef>

namespace kxtree {

/// A line on standard error that overwrites itself, and is erased at the end. Shown only on a
/// terminal, and only for what takes longer than a second.
class ProgressLine {
public:
    ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine();

    void show(std::size_t done, std::size_t total);

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point next_ = Clock::now() + std::chrono::seconds(1);
    bool on_terminal_;
    bool shown_ = false;
};

} // namespace kxtree
