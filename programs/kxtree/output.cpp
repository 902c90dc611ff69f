#include "output.hpp"

#include "install/tree/printable_text.hpp"
#include "install/tree_names.hpp"
#include "iso_time.hpp"
#include "products.hpp"
#include "shell_text.hpp"
#include "state.hpp"
#include "table.hpp"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include <unistd.h>

namespace kxtree {

using install::tree::Fault;
using install::tree::Health;
using install::tree::Listing;
using install::tree::printable_text;
using install::tree::RecordEntry;

namespace {

// Indented, because a text may have several lines, the later ones part of the first.
void print_finding(std::ostream& stream, const std::string& path, std::string text) {
    for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 1))
        text.insert(end + 1, "    ");
    const std::string file = printable_text(path);
    if (text.find(file) == std::string::npos) // as it is not in the text of a failure
        text.insert(0, file + ": ");
    stream << "  " << text << '\n';
}

void print_faults(std::ostream& stream, const std::string& title,
                  const std::vector<Fault>& faults) {
    if (faults.empty())
        return;
    stream << title << ":\n";
    for (const Fault& fault : faults)
        print_finding(stream, fault.path, fault.text);
}

std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// Whether a prune may find something.
bool has_unlisted_documents(const Health& health) {
    const auto is_one = [](const Fault& fault) {
        return fault.kind == Fault::Kind::not_listed &&
               fault.path.ends_with(install::tree_names::document_suffix);
    };
    return std::ranges::any_of(health.problems, is_one) ||
           std::ranges::any_of(health.notes, is_one);
}

// A dry run that would change nothing is no different from a repair.
bool is_hypothetical(const RepairResult& repair) {
    return !repair.is_applied && !repair.report.steps.empty();
}

void print_remaining(std::ostream& stream, const RepairResult& repair) {
    const std::size_t count = repair.report.remaining.size();
    const auto& actions = repair.advice.actions;
    stream << counted(count, "problem")
           << (is_hypothetical(repair) ? " would remain:"
               : count == 1            ? " remains:"
                                       : " remain:");
    for (const std::string& action : actions)
        stream << (actions.size() == 1 ? " " : "\n  ") << action;
    stream << '\n';
}

} // namespace

Style::Style() {
    const std::string terminal = environment("TERM");
    colours_ = isatty(STDOUT_FILENO) == 1 && environment("NO_COLOR").empty() && !terminal.empty() &&
               terminal != "dumb";
}

std::string Style::in_colour(const char* code, std::string_view text) const {
    if (!colours_)
        return std::string(text);
    return std::string("\033[").append(code).append("m").append(text).append("\033[0m");
}

void print_listing(std::ostream& stream, const Listing& listing) {
    std::vector<std::vector<std::string>> rows{
        {"PRODUCT", "NAME", "VERSION", "BASECODE", "FILES", "LAST WRITE"}};
    for (const Product& product : products_of(listing)) {
        const auto* const receipt = product.receipt;
        const auto* const names = receipt_with_names(product);
        rows.push_back(
            {printable_text(product.entry->key), names ? printable_text(names->name) : "-",
             names ? printable_text(names->version) : "-",
             receipt ? printable_text(receipt->basecode) : "-",
             std::to_string(product.entry->paths.size()), receipt ? iso_time(receipt->time) : "-"});
    }
    for (const RecordEntry& entry : unclaimed_record_of(listing))
        rows.push_back({"-", "-", "-", printable_text(entry.basecode), "-", iso_time(entry.time)});
    print_table(stream, rows, 4);
}

void print_keys(std::ostream& stream, const Listing& listing) {
    for (const auto& entry : listing.contents)
        stream << printable_text(entry.key) << '\n';
}

void print_documents(std::ostream& stream,
                     const std::vector<install::tree::ListedDocument>& documents) {
    std::vector<std::vector<std::string>> rows;
    rows.reserve(documents.size());
    for (const auto& document : documents)
        rows.push_back({std::to_string(document.size), state_of(document),
                        printable_text(document.file.empty() ? document.path : document.file)});
    print_table(stream, rows, 0);
}

void print_health(std::ostream& stream, const Health& health, const std::string& root_argument,
                  const Style& style) {
    print_faults(stream, style.bad("Problems"), health.problems);
    print_faults(stream, style.doubtful("Notes"), health.notes);
    if (has_unlisted_documents(health))
        stream << "To see which documents nobody needs, run: "
               << command_line("prune", root_argument) << " --dry-run\n";
    const std::string problems = counted(health.problems.size(), "problem");
    stream << counted(health.listing.contents.size(), "product") << ", "
           << counted(health.documents, "document") << ", "
           << (health.problems.empty() ? style.good(problems) : style.bad(problems));
    if (const std::size_t count = count_without_receipt(health.listing); count > 0)
        stream << "; " << counted(count, "product") << (count == 1 ? " has" : " have")
               << " no receipt: " << (count == 1 ? "its" : "their")
               << " documents were not compared";
    if (!health.is_complete)
        stream << "; some of the tree could not be read";
    stream << '\n';
}

void print_problems(std::ostream& stream, const Health& health) {
    print_faults(stream, "Problems", health.problems);
}

void print_removal(std::ostream& stream, const Removal& removal) {
    for (const auto& product : removal.products) {
        stream << (removal.done ? "Removed " : "Would remove ") << printable_text(product.key);
        if (product.basecode)
            stream << ", and " << printable_text(*product.basecode) << " from the installed record";
        stream << ".\n";
    }
    for (const std::string& document : removal.documents)
        stream << "  " << printable_text(document) << '\n';
}

void print_prune(std::ostream& stream, const install::tree::PruneReport& report, bool has_changed,
                 const Style& style) {
    const auto& documents = report.documents;
    if (documents.empty())
        stream << "Nothing to remove.\n";
    else
        stream << (has_changed ? "Removed " : "Would remove ")
               << counted(documents.size(), "document") << " that no entry lists:\n";
    for (const std::string& document : documents)
        stream << "  " << printable_text(document) << '\n';
    print_faults(stream, style.doubtful("Notes"), report.notes);
}

void print_repair(std::ostream& stream, const RepairResult& repair, const Style& style) {
    const auto& report = repair.report;
    for (const auto& step : report.steps)
        print_finding(stream, step.path, step.text);
    print_faults(stream, style.doubtful("Notes"), report.notes);
    print_faults(stream, style.bad(is_hypothetical(repair) ? "Problems then" : "Problems"),
                 report.remaining);
    if (report.steps.empty())
        stream << (report.remaining.empty() ? "Nothing to repair.\n"
                                            : "Nothing can be repaired.\n");
    else if (is_hypothetical(repair))
        stream << "Nothing was changed; to do this, run: "
               << command_line("repair", repair.root_argument) << " --apply\n";
    if (!report.remaining.empty())
        print_remaining(stream, repair);
}

void print_owners(std::ostream& stream, const std::vector<OwnedPath>& paths) {
    for (const auto& [path, keys] : paths) {
        for (const std::string& key : keys)
            stream << printable_text(path) << ": " << printable_text(key) << '\n';
        if (keys.empty())
            std::cerr << "kxtree: " << printable_text(path) << ": no product lists it\n";
    }
}

} // namespace kxtree
