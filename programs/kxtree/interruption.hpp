// SIGINT and SIGTERM.

#pragma once

namespace kxtree {

/// Thrown by require_no_interruption. Not a std::exception, so that it is not taken for a failure.
struct Interrupted {
    int signal;
};

/// From now on the first SIGINT or SIGTERM is only noted; the second one kills. Signals that are
/// ignored stay so.
void note_interruptions();

/// Throws Interrupted if one was noted.
void require_no_interruption();

/// From now on, output to a closed pipe fails instead of ending the process by SIGPIPE, so that a
/// change is completed and the exit status says that it was made.
void ignore_broken_pipes();

} // namespace kxtree
