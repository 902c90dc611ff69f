// kxtree: for the people who look after install trees. The manual page is kxtree.1.

#include "arguments.hpp"

#include "install/tree/printable_text.hpp"
#include "install/tree/tree_error.hpp"

#include <exception>
#include <iostream>
#include <new>
#include <string_view>

namespace {

// A full disk shows only when the last buffer is written.
int checked_output(int status) {
    if (std::cout.flush())
        return status;
    std::cerr << "kxtree: cannot write to standard output\n";
    return kxtree::failed;
}

int report(std::string_view what, int status) {
    std::cout.flush();
    std::cerr << "kxtree: " << what << '\n';
    return status;
}

int run(int argc, char** argv) {
    const auto arguments = kxtree::read_arguments(argc, argv);
    if (const auto* const request = std::get_if<kxtree::Request>(&arguments))
        return checked_output(request->command(*request));
    return checked_output(std::get<kxtree::ExitStatus>(arguments));
}

int run_and_report(int argc, char** argv) {
    using install::tree::printable_text;
    try {
        return run(argc, argv);
    } catch (const install::tree::tree_error& error) {
        const bool has_waited = error.code() == std::errc::timed_out;
        return report(printable_text(error.what()), has_waited ? kxtree::waited : kxtree::failed);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        return report(printable_text(error.what()), kxtree::failed);
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
