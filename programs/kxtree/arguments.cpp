#include "arguments.hpp"

#include "commands.hpp"
#include "failure.hpp"
#include "install/tree/printable_text.hpp"
#include "nearest.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <utility>

namespace kxtree {

namespace {

// A subcommand while it is described.
class Command {
public:
    Command(CLI::App& program, Request& request, Result (*command)(const Request&),
            const std::string& name, const std::string& description, const std::string& example)
        : app_(*program.add_subcommand(name, description)),
          request_(request) {
        app_.footer("Example:\n  kxtree " + example);
        app_.add_option("ROOT", request.root, "The install root: the directory that has appdata")
            ->required();
        app_.callback([&request, command, name] {
            request.command = command;
            request.name = name;
        });
    }

    // Taken as they are: the conversion to a vector would leave out an empty key.
    void operands(const std::string& name, int most, const std::string& description) {
        const auto take = [&request = request_](const CLI::results_t& texts) {
            request.operands = texts;
            return true;
        };
        app_.add_option(name, take, description)->required()->type_name("TEXT")->expected(most);
    }

    CLI::Option* flag(const std::string& name, bool& value, const std::string& description) {
        return app_.add_flag(name, value, description);
    }

    CLI::Option* json() { return flag("--json", request_.json, "Prints one JSON object"); }

    void wait() {
        const auto take = [&request = request_](double seconds) {
            if (!(seconds >= 0 && seconds <= 1e9)) // also what is no number
                throw CLI::ValidationError("--wait needs a number of seconds");
            request.wait_at_most = std::chrono::ceil<std::chrono::milliseconds>(
                std::chrono::duration<double>(seconds));
        };
        app_.add_option_function<double>("--wait", take,
                                         "How long to wait for other changes (default: as long as "
                                         "it takes); exit status 3 if that was too short")
            ->type_name("SECONDS");
        flag("--only-mount", request_.only_mount,
             "No other mount of a shared file system changes this tree");
    }

    void option(const std::string& name, std::optional<std::string>& value,
                const std::string& description) {
        app_.add_option(name, value, description);
    }

private:
    CLI::App& app_;
    Request& request_;
};

constexpr int any_number = CLI::detail::expected_max_vector_size;

void add_list(CLI::App& program, Request& request) {
    Command command(program, request, list, "list",
                    "Lists the products: basecode, number of files, last write",
                    "list /opt/kit --json");
    auto* const keys = command.flag("--keys", request.keys, "Prints the keys alone, a line each");
    command.json()->excludes(keys);
}

void add_files(CLI::App& program, Request& request) {
    Command command(program, request, files, "files",
                    "Lists the documents of a product, with their sizes and states",
                    "files /opt/kit \"Sample Tool 2.5\"");
    command.operands("KEY", 1, "The key of the product, without its tag, or its basecode");
    command.json();
}

void add_owner(CLI::App& program, Request& request) {
    Command command(program, request, owner, "owner", "Names the products that list a document",
                    "owner /opt/kit \"/opt/kit/appdata/products/Sample Tool 2.5 en.xml\"");
    command.operands("PATH", any_number, "The path of a file, or as the contents map lists it");
    command.json();
}

void add_check(CLI::App& program, Request& request) {
    Command command(program, request, check, "check",
                    "Checks the health of a tree: exit status 0 healthy, 1 problems, 2 "
                    "could not be read",
                    "check /opt/kit --contents");
    command.flag("--contents", request.contents,
                 "Also compares the text of every document with what was written");
    command.json();
}

void add_sbom(CLI::App& program, Request& request) {
    Command command(program, request, sbom, "sbom",
                    "Prints an inventory for other programs, in CycloneDX: the products, their "
                    "documents, and the hashes of these",
                    "sbom /opt/kit --contents -o kit.cdx.json");
    command.flag("--contents", request.contents,
                 "Also compares the text of every document with what was written");
    command.option("-o,--output", request.output, "Writes to this file");
}

void add_remove(CLI::App& program, Request& request) {
    Command command(program, request, remove, "remove",
                    "Removes products: their entries, and documents only they list",
                    "remove /opt/kit \"Sample Tool 2.5\" --dry-run");
    command.operands("KEY", any_number, "The key of a product, without its tag, or its basecode");
    command.option(
        "--basecode", request.basecode,
        "The entry of the installed record that belongs to the KEY, if the tree does not know it");
    command.flag("--dry-run", request.dry_run, "Only says what it would do");
    command.wait();
    command.json();
}

void add_prune(CLI::App& program, Request& request) {
    Command command(program, request, prune, "prune",
                    "Removes documents that no entry lists, and no current receipt has",
                    "prune /opt/kit --dry-run");
    command.flag("--dry-run", request.dry_run, "Only says what it would do");
    command.wait();
    command.json();
}

void add_repair(CLI::App& program, Request& request) {
    Command command(program, request, repair, "repair",
                    "Says what it would do to repair a tree; with --apply does it",
                    "repair /opt/kit --apply");
    auto* const apply = command.flag("--apply", request.apply, "Changes the tree");
    command.flag("--dry-run", request.dry_run, "Changes nothing, which is the default")
        ->excludes(apply);
    command.wait();
    command.json();
}

// A text in brackets would be taken for a list, were it not for a NUL at its end, which no argument
// can have otherwise.
std::string hidden(std::string argument) {
    if (argument.ends_with(']'))
        argument += '\0';
    return argument;
}

void reveal(std::string& argument) {
    if (argument.ends_with('\0'))
        argument.pop_back();
}

void parse(CLI::App& program, int argc, char** argv, Request& request) {
    std::vector<std::string> arguments; // the last one first
    for (int index = argc; --index > 0;)
        arguments.push_back(hidden(argv[index]));
    program.parse(std::move(arguments));
    reveal(request.root);
    for (std::string& operand : request.operands)
        reveal(operand);
    for (auto* const value : {&request.basecode, &request.output})
        if (*value)
            reveal(**value);
    if (request.basecode && request.operands.size() > 1)
        throw CLI::ValidationError("--basecode needs exactly one KEY");
}

Failure failure_of(const CLI::ParseError& error, const CLI::App& program) {
    std::string text = error.what();
    std::erase(text, '\0'); // of hidden arguments
    const auto commands = program.get_subcommands();
    return {install::tree::printable_text(text),
            "to see how it is used, run: kxtree " +
                (commands.empty() ? "" : commands.front()->get_name() + ' ') + "--help"};
}

// A misspelt command would be reported as an argument that was not expected.
void require_command(const CLI::App& program, const std::string& name) {
    std::vector<std::string> commands;
    for (const CLI::App* const command : program.get_subcommands(nullptr))
        commands.push_back(command->get_name());
    if (name.starts_with('-') || std::ranges::find(commands, name) != commands.end())
        return;
    const auto suggestion = nearest(name, commands);
    throw Failure("there is no command \"" + install::tree::printable_text(name) + '"' +
                      (suggestion ? "; did you mean \"" + *suggestion + "\"?" : ""),
                  "to see all commands, run: kxtree --help");
}

} // namespace

std::variant<Request, ExitStatus> read_arguments(int argc, char** argv) {
    CLI::App program("Maintains install trees.", "kxtree");
    program.set_version_flag("-V,--version", "kxtree " KX_VERSION);
    program.require_subcommand(1);
    program.footer("Example:\n  kxtree check /opt/kit");
    Request request;
    for (const auto add :
         {add_list, add_files, add_owner, add_check, add_sbom, add_remove, add_prune, add_repair})
        add(program, request);
    if (argc < 2) {
        std::cout << program.help();
        return ok;
    }
    require_command(program, argv[1]);
    try {
        parse(program, argc, argv, request);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            throw failure_of(error, program);
        program.exit(error); // prints help or the version
        return ok;
    }
    return request;
}

} // namespace kxtree
