// kxtree: for the people who look after install trees. The manual page is kxtree.1.

#include "commands.hpp"

#include "install/tree/printable_text.hpp"

#include <CLI/CLI.hpp>

#include <exception>
#include <functional>
#include <iostream>
#include <optional>
#include <string>

namespace {

// What the command line asks for.
struct Request {
    std::string root;
    std::string key;
    std::optional<std::string> basecode;
    bool json = false;
    bool apply = false;
    std::function<int()> command;
};

CLI::App& add_command(CLI::App& program, const std::string& name, const std::string& description,
                      const std::string& example, Request& request) {
    CLI::App& command = *program.add_subcommand(name, description);
    command.footer("Example:\n  kxtree " + example);
    command.add_option("ROOT", request.root, "The install root: the directory that has appdata")
        ->required();
    return command;
}

void add_commands(CLI::App& program, Request& request) {
    CLI::App& list = add_command(program, "list", "Lists the products, their files and last writes",
                                 "list /opt/kit --json", request);
    list.add_flag("--json", request.json, "Prints one JSON object");
    list.callback(
        [&] { request.command = [&] { return kxtree::list(request.root, request.json); }; });

    CLI::App& check =
        add_command(program, "check",
                    "Checks the health of a tree: exit status 0 healthy, 1 problems, 2 "
                    "could not look",
                    "check /opt/kit", request);
    check.add_flag("--json", request.json, "Prints one JSON object");
    check.callback(
        [&] { request.command = [&] { return kxtree::check(request.root, request.json); }; });

    CLI::App& remove = add_command(
        program, "remove", "Removes a product: its entries, and documents only it lists",
        "remove /opt/kit \"Sample Tool 2.5 hostpf\" --basecode ST", request);
    remove.add_option("KEY", request.key, "The key of the entry in the contents map")->required();
    remove.add_option("--basecode", request.basecode,
                      "The key of the entry in the installed record");
    remove.callback([&] {
        request.command = [&] {
            return kxtree::remove(request.root, request.key, request.basecode);
        };
    });

    CLI::App& repair = add_command(program, "repair",
                                   "Says what it would do to repair a tree; with --apply does it",
                                   "repair /opt/kit --apply", request);
    repair.add_flag("--apply", request.apply, "Changes the tree");
    repair.callback(
        [&] { request.command = [&] { return kxtree::repair(request.root, request.apply); }; });
}

// A full disk shows only when the last buffer is written.
int checked_output(int status) {
    if (std::cout.flush())
        return status;
    std::cerr << "kxtree: cannot write to standard output\n";
    return kxtree::failed;
}

int report(const char* what) {
    std::cout.flush();
    std::cerr << "kxtree: " << what << '\n';
    return kxtree::failed;
}

int run(int argc, char** argv) {
    CLI::App program("Looks after install trees.", "kxtree");
    program.set_version_flag("--version", "kxtree " KX_VERSION);
    program.require_subcommand(1);
    program.footer("Example:\n  kxtree check /opt/kit");
    Request request;
    add_commands(program, request);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? checked_output(kxtree::ok) : int(kxtree::failed);
    }
    return checked_output(request.command());
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return report(install::tree::printable(error.what()).c_str());
    }
}
