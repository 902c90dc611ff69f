#include "catalogue.hpp"

#include "fl/i18n/text_conversion.hpp"

#include <algorithm>
#include <istream>
#include <map>
#include <stdexcept>
#include <string_view>

#include <climits>

namespace write_tree {

namespace {

/// Why a line is malformed.
class Malformed : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const auto part_end = text.find(separator);
        parts.push_back(text.substr(0, part_end));
        if (part_end == std::string_view::npos)
            return parts;
        text.remove_prefix(part_end + 1);
    }
}

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// "name", "name:any" or "name (condition)".
Choice parse_choice(std::string_view text) {
    const std::string_view all = trimmed(text);
    const auto open = all.find('(');
    Choice choice;
    if (open != std::string_view::npos) {
        if (all.back() != ')')
            throw Malformed("dependency without a closing parenthesis: " + std::string(all));
        choice.condition = trimmed(all.substr(open + 1, all.size() - open - 2));
    }
    const std::string_view name = trimmed(all.substr(0, open));
    choice.name = name.substr(0, name.find(':'));
    if (choice.name.empty())
        throw Malformed("dependency without a name");
    return choice;
}

std::vector<std::vector<Choice>> parse_dependencies(std::string_view text) {
    std::vector<std::vector<Choice>> dependencies;
    if (trimmed(text).empty())
        return dependencies;
    for (const std::string_view dependency : split(text, ',')) {
        auto& choices = dependencies.emplace_back();
        for (const std::string_view choice : split(dependency, '|'))
            choices.push_back(parse_choice(choice));
    }
    return dependencies;
}

// Name, version and architecture, separated by spaces, become a file name, which must not leave the
// directory of the products.
void check_part_of_file_name(const std::string& what, const std::string& text,
                             std::string_view unfit) {
    if (text.empty())
        throw Malformed("empty " + what);
    const auto is_unfit = [unfit](char byte) {
        return static_cast<unsigned char>(byte) <= ' ' || byte == '\x7F' ||
               unfit.find(byte) != unfit.npos;
    };
    if (std::any_of(text.begin(), text.end(), is_unfit))
        throw Malformed(what + " with a space, a control character, or one of " +
                        std::string(unfit));
}

Package parse_line(const std::string& line) {
    static_cast<void>(fl::i18n::utf8_to_ustring(line)); // throws if it is not UTF-8
    const std::vector<std::string_view> fields = split(line, '\t');
    if (fields.size() != 6)
        throw Malformed(std::to_string(fields.size()) + " fields instead of 6");
    Package package;
    package.name = fields[0];
    package.version = fields[1];
    package.architecture = fields[2];
    package.section = fields[3];
    package.dependencies = parse_dependencies(fields[4]);
    package.summary = fields[5];
    check_part_of_file_name("name", package.name, "/:,|()"); // these end a name in a dependency
    check_part_of_file_name("version", package.version, "/");
    check_part_of_file_name("architecture", package.architecture, "/");
    if (package.basecode().size() + package.version.size() + package.architecture.size() +
            std::string_view("  .xml").size() >
        NAME_MAX)
        throw Malformed("name and version are too long for a file name");
    return package;
}

} // namespace

Catalogue read_catalogue(std::istream& stream) {
    Catalogue catalogue;
    std::map<std::string, std::size_t> lines; // by basecode
    std::string text;
    for (std::size_t line = 1; std::getline(stream, text); ++line) {
        try {
            Package package = parse_line(text);
            package.line = line;
            const auto [first, is_new] = lines.try_emplace(package.basecode(), line);
            if (!is_new)
                throw Malformed(package.basecode() + " stands in line " +
                                std::to_string(first->second) + " already");
            catalogue.packages.push_back(std::move(package));
        } catch (const std::runtime_error& error) { // Malformed, or not UTF-8
            catalogue.faults.push_back({line, error.what()});
        }
    }
    return catalogue;
}

} // namespace write_tree
