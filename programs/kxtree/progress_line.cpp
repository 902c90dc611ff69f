#include "progress_line.hpp"

#include <iostream>

#include <unistd.h>

namespace kxtree {

ProgressLine::ProgressLine() : on_terminal_(isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() {
    if (shown_)
        std::cerr << "\r\033[K";
}

void ProgressLine::show(std::size_t done, std::size_t total) {
    if (!on_terminal_ || Clock::now() < next_)
        return;
    std::cerr << "\r\033[K" << done << " of " << total << " documents";
    shown_ = true;
    next_ = Clock::now() + std::chrono::milliseconds(100);
}

} // namespace kxtree
