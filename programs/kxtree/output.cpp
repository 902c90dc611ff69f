#include "output.hpp"

#include "install/tree/printable_text.hpp"
#include "iso_time.hpp"

#include <algorithm>
#include <cstdlib>

#include <unistd.h>

namespace kxtree {

using install::tree::Fault;
using install::tree::Health;
using install::tree::Listing;
using install::tree::printable;
using install::tree::RecordEntry;

namespace {

// Indented, because a text may have several lines, the later ones part of the first.
void print_finding(std::ostream& stream, const std::string& path, std::string text) {
    for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 1))
        text.insert(end + 1, "    ");
    stream << "  " << printable(path) << ": " << text << '\n';
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
        stream << "  " << iso_time(entry.time) << "  " << printable(entry.basecode) << '\n';
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
    if (!listing.contents.empty())
        stream << "Products, and the number of their XML files:\n";
    for (const auto& entry : listing.contents)
        stream << "  " << entry.paths.size() << "  " << printable(entry.key) << '\n';
    print_record(stream, listing.record);
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

void print_steps(std::ostream& stream, const std::vector<install::tree::RepairStep>& steps) {
    for (const auto& step : steps)
        print_finding(stream, step.path, step.text);
}

} // namespace kxtree
