#include "arguments.hpp"

#include "commands.hpp"

#include <CLI/CLI.hpp>

#include <utility>

namespace kxtree {

namespace {

// A subcommand while it is described.
class Command {
public:
    Command(CLI::App& program, Request& request, int (*command)(const Request&),
            const std::string& name, const std::string& description, const std::string& example)
        : app_(*program.add_subcommand(name, description)),
          request_(request) {
        app_.footer("Example:\n  kxtree " + example);
        app_.add_option("ROOT", request.root, "The install root: the directory that has appdata")
            ->required();
        app_.callback([&request, command] { request.command = command; });
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

    void json() { flag("--json", request_.json, "Prints one JSON object"); }

    void wait() {
        const auto take = [&request = request_](double seconds) {
            if (!(seconds >= 0 && seconds <= 1e9)) // also what is no number
                throw CLI::ValidationError("--wait", "This is not a number of seconds");
            request.wait_at_most = std::chrono::ceil<std::chrono::milliseconds>(
                std::chrono::duration<double>(seconds));
        };
        app_.add_option_function<double>("--wait", take,
                                         "How long to wait for other changes (default: as long as "
                                         "it takes); exit status 3 if that was too short")
            ->type_name("SECONDS");
    }

    CLI::App& app() { return app_; }

private:
    CLI::App& app_;
    Request& request_;
};

constexpr int any_number = CLI::detail::expected_max_vector_size;

void add_list(CLI::App& program, Request& request) {
    Command command(program, request, list, "list",
                    "Lists the products: basecode, number of files, last write",
                    "list /opt/kit --json");
    command.json();
}

void add_files(CLI::App& program, Request& request) {
    Command command(program, request, files, "files",
                    "Lists the documents of a product, with their sizes and states",
                    "files /opt/kit \"Sample Tool 2.5\"");
    command.operands("KEY", 1, "The key of the product; its tag, hostpf, may be left out");
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
                    "could not look",
                    "check /opt/kit --contents");
    command.flag("--contents", request.contents,
                 "Compares also the text of every document with what was written");
    command.json();
}

void add_remove(CLI::App& program, Request& request) {
    Command command(program, request, remove, "remove",
                    "Removes products: their entries, and documents only they list",
                    "remove /opt/kit \"Sample Tool 2.5\" --dry-run");
    command.operands("KEY", any_number, "The key of a product; its tag, hostpf, may be left out");
    command.app().add_option(
        "--basecode", request.basecode,
        "The entry of the installed record that belongs to the KEY, if the tree does not know it");
    command.flag("--dry-run", request.dry_run, "Only says what it would do");
    command.wait();
    command.json();
    command.app().callback([&request] {
        request.command = remove;
        if (request.basecode && request.operands.size() > 1)
            throw CLI::ValidationError("--basecode", "It belongs to one KEY alone");
    });
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
    if (request.basecode)
        reveal(*request.basecode);
}

} // namespace

std::variant<Request, ExitStatus> read_arguments(int argc, char** argv) {
    CLI::App program("Looks after install trees.", "kxtree");
    program.set_version_flag("--version", "kxtree " KX_VERSION);
    program.require_subcommand(1);
    program.footer("Example:\n  kxtree check /opt/kit");
    Request request;
    for (const auto add : {add_list, add_files, add_owner, add_check, add_remove, add_repair})
        add(program, request);
    try {
        parse(program, argc, argv, request);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? ok : failed;
    }
    return request;
}

} // namespace kxtree
