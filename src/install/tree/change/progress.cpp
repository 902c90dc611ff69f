#include "install/tree/change/progress.hpp"

namespace install::tree {

namespace {

constexpr int most_reports = 1000;
constexpr int reports_until_slower = 900;
constexpr int reports_until_half_as_often = 10;

} // namespace

void ProgressReporter::begin(Progress::Phase phase, std::size_t total) {
    progress_ = {phase, 0, total};
    report();
}

void ProgressReporter::step() {
    ++progress_.done;
    if (observer_ && std::chrono::steady_clock::now() >= next_)
        report();
}

void ProgressReporter::report() {
    if (!observer_ || reports_ == most_reports)
        return;
    if (++reports_ > reports_until_slower && reports_ % reports_until_half_as_often == 0)
        interval_ *= 2;
    next_ = std::chrono::steady_clock::now() + interval_;
    observer_(progress_);
}

} // namespace install::tree
