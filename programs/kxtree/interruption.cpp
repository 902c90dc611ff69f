#include "interruption.hpp"

#include <csignal>

namespace kxtree {

namespace {

constexpr int signals[] = {SIGINT, SIGTERM};

volatile std::sig_atomic_t noted = 0; // a handler can reach nothing else

extern "C" void note_signal(int signal) {
    noted = signal;
    for (const int each : signals)
        std::signal(each, SIG_DFL);
}

} // namespace

void note_interruptions() {
    struct sigaction action = {};
    action.sa_handler = note_signal;
    action.sa_flags = SA_RESTART; // nothing else is to notice
    for (const int signal : signals) {
        struct sigaction previous = {};
        if (sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
}

void require_no_interruption() {
    if (noted != 0)
        throw Interrupted{noted};
}

void ignore_broken_pipes() {
    std::signal(SIGPIPE, SIG_IGN);
}

} // namespace kxtree
