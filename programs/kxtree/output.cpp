#include "output.hpp"

#include "install/tree/printable_text.hpp"
#include "iso_time.hpp"
#include "products.hpp"
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
    stream << "  " << printable_text(path) << ": " << text << '\n';
}

void print_faults(std::ostream& stream, const std::string& title,
                  const std::vector<Fault>& faults) {
    if (faults.empty())
        return;
    stream << title << ":\n";
    for (const Fault& fault : faults)
        print_finding(stream, fault.path, fault.text);
}

void print_record(std::ostream& stream, std::vector<RecordEntry> record) {
    if (record.empty())
        return;
    std::stable_sort(record.begin(), record.end(),
                     [](const auto& left, const auto& right) { return left.time < right.time; });
    stream << "Products, by their last write:\n";
    for (const RecordEntry& entry : record)
        stream << "  " << iso_time(entry.time) << "  " << printable_text(entry.basecode) << '\n';
}

std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

} // namespace

Style::Style() {
    const char* const no_color = std::getenv("NO_COLOR");
    colours_ = isatty(STDOUT_FILENO) == 1 && (no_color == nullptr || *no_color == '\0');
}

std::string Style::in_colour(const char* code, std::string_view text) const {
    if (!colours_)
        return std::string(text);
    return std::string("\033[").append(code).append("m").append(text).append("\033[0m");
}

void print_listing(std::ostream& stream, const Listing& listing) {
    std::vector<std::vector<std::string>> rows{{"PRODUCT", "BASECODE", "FILES", "LAST WRITE"}};
    for (const auto& [entry, receipt] : products_of(listing))
        rows.push_back(
            {printable_text(entry->key), receipt ? printable_text(receipt->basecode) : "-",
             std::to_string(entry->paths.size()), receipt ? iso_time(receipt->time) : "-"});
    for (const RecordEntry& entry : unclaimed_record_of(listing))
        rows.push_back({"-", printable_text(entry.basecode), "-", iso_time(entry.time)});
    print_table(stream, rows, 2);
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

void print_health(std::ostream& stream, const Health& health, const Style& style) {
    print_record(stream, health.listing.record);
    print_faults(stream, style.doubtful("Notes"), health.notes);
    print_faults(stream, style.bad("Problems"), health.problems);
    const std::string problems = counted(health.problems.size(), "problem");
    stream << counted(health.listing.record.size(), "product") << ", "
           << counted(health.documents, "XML file") << ", "
           << (health.problems.empty() ? style.good(problems) : style.bad(problems)) << '\n';
}

void print_removal(std::ostream& stream, const Removal& removal) {
    for (const auto& product : removal.products) {
        stream << (removal.done ? "Removed " : "Would remove ") << printable_text(product.key);
        if (product.basecode)
            stream << ", and " << printable_text(*product.basecode) << " from the installed record";
        stream << ".\n";
    }
    if (removal.done)
        return;
    for (const auto& step : removal.steps)
        stream << "  " << name_of(step.kind) << ' ' << printable_text(step.path) << '\n';
}

void print_repair(std::ostream& stream, const install::tree::RepairReport& report, bool applied,
                  const Style& style) {
    for (const auto& step : report.steps)
        print_finding(stream, step.path, step.text);
    print_faults(stream, style.doubtful("Notes"), report.notes);
    if (report.steps.empty())
        stream << "Nothing to repair.\n";
    else if (!applied)
        stream << "Nothing was changed; run it again with --apply.\n";
}

void print_owners(std::ostream& stream, const std::vector<OwnedPath>& paths) {
    for (const auto& [path, keys] : paths) {
        for (const std::string& key : keys)
            stream << printable_text(path) << ": " << printable_text(key) << '\n';
        if (keys.empty())
            std::cerr << printable_text(path) << ": no product lists it\n";
    }
}

} // namespace kxtree
