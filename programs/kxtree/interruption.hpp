// SIGINT and SIGTERM.

#pragma once

namespace kxtree {

/// Thrown by require_no_interruption. No std::exception, so that nobody takes it for a failure.
struct Interrupted {
    int signal;
};

/// From now on the first SIGINT or SIGTERM is only noted; the second one kills. Signals that are
/// ignored stay so.
void note_interruptions();

/// Throws Interrupted if one was noted.
void require_no_interruption();

/// From now on output that nobody takes fails, rather than ends the process by SIGPIPE: a change
/// goes on, and its exit status says that it was made.
void ignore_broken_pipes();

} // namespace kxtree
