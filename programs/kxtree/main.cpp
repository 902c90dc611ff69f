// kxtree: for the people who maintain install trees. The manual page is kxtree.1.

#include "arguments.hpp"
#include "failure.hpp"
#include "interruption.hpp"
#include "shell_text.hpp"

#include "install/tree/printable_text.hpp"
#include "install/tree/tree_error.hpp"

#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <string_view>

namespace {

using install::tree::tree_error;
using kxtree::command_line;
using kxtree::Request;

int report(std::string_view what, int status, const std::string& hint = {}) {
    std::cout.flush();
    std::cerr << "kxtree: " << what << '\n';
    if (!hint.empty())
        std::cerr << "kxtree: " << hint << '\n';
    return status;
}

// A full disk shows only when the last buffer is written.
int checked_output(const kxtree::Result& result) {
    if (std::cout.flush())
        return result.status;
    if (result.has_changed)
        return report("the tree was changed, but standard output cannot be written",
                      kxtree::only_changed);
    return report("cannot write to standard output", kxtree::failed);
}

// Returns what helps, with the command as its last words.
std::string hint_on(const tree_error& error, const Request& request) {
    using Outcome = tree_error::Outcome;
    if (error.outcome() == Outcome::interrupted)
        return "to roll the change back, run: " + command_line("repair", request.root) + " --apply";
    if (error.outcome() == Outcome::committed)
        return "to see whether all is there, run: " + command_line("check", request.root);
    if (error.code() == std::errc::timed_out)
        return "to wait as long as it takes, run it without --wait";
    if (error.code() == std::errc::permission_denied)
        return "to see who may do that, run: ls -ld " + kxtree::shell_word(error.path());
    if (error.code() == std::errc::no_space_on_device)
        return "to see how much room there is, run: df -h " + kxtree::shell_word(request.root);
    if (error.operation() == "open" &&
        (!error.code() || error.code() == std::errc::no_such_file_or_directory)) // no tree
        return "to see which directory ROOT is, run: kxtree " + request.name + " --help";
    return "to see what is wrong, run: " + command_line("check", request.root);
}

int report(const tree_error& error, const Request& request) {
    const int status = error.outcome() == tree_error::Outcome::committed ? kxtree::only_changed
                       : error.code() == std::errc::timed_out            ? kxtree::waited
                                                                         : kxtree::failed;
    return report(install::tree::printable_text(error.what()), status, hint_on(error, request));
}

int run(const Request& request) {
    try {
        return checked_output(request.command(request));
    } catch (const kxtree::Interrupted& interruption) {
        return report("interrupted: nothing was changed",
                      kxtree::interrupted + interruption.signal);
    } catch (const kxtree::Failure& failure) {
        return report(failure.what(), kxtree::failed, failure.hint());
    } catch (const tree_error& error) {
        return report(error, request);
    }
}

int run_and_report(int argc, char** argv) {
    try {
        const auto arguments = kxtree::read_arguments(argc, argv);
        if (const auto* const request = std::get_if<Request>(&arguments))
            return run(*request);
        return checked_output({std::get<kxtree::ExitStatus>(arguments)});
    } catch (const kxtree::Failure& failure) {
        return report(failure.what(), kxtree::failed, failure.hint());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        return report(install::tree::printable_text(error.what()), kxtree::failed);
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run_and_report(argc, argv);
    } catch (const std::bad_alloc&) { // also where there was none left to report another failure
        return report("not enough memory", kxtree::failed);
    }
}
