#include "install/tree/disk/lock_text.hpp"

#include "install/clock.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <iterator>
#include <optional>

#include <unistd.h>

namespace install::tree {

namespace {

constexpr std::string_view unknown = "-";
constexpr std::string_view last_line = "end";
constexpr std::string_view shared_files[] = {tree_names::contents_map, tree_names::installed_record,
                                             tree_names::receipts};
constexpr std::string_view states[] = {unknown, "changing", "late"}; // in their order

std::string_view take_until(std::string_view& text, std::string_view separators) {
    const std::size_t size = std::min(text.find_first_of(separators), text.size());
    const std::string_view taken = text.substr(0, size);
    text.remove_prefix(std::min(size + 1, text.size()));
    return taken;
}

template <class Number>
void take_number(std::string_view& text, Number& number) {
    const std::string_view digits = take_until(text, " \n");
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
}

void take_word(std::string_view& text, std::string& word) {
    word = take_until(text, " \n");
    if (word == unknown)
        word.clear();
}

// A word of the text must be one.
std::string word_of(std::string text) {
    std::ranges::replace_if(
        text, [](char byte) { return byte == ' ' || byte == '\n'; }, '?');
    return text.empty() ? std::string(unknown) : text;
}

std::string boot_of_this_machine() {
    std::string boot;
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), boot);
    return boot;
}

std::string processes_of_this_process() {
    std::array<char, 64> text{};
    const auto size = readlink("/proc/self/ns/pid", text.data(), text.size());
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

std::string name_of_this_machine() {
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    return name.data();
}

} // namespace

LockText LockText::in(std::string_view text) {
    LockText result;
    take_number(text, result.process);
    take_number(text, result.changes);
    take_number(text, result.time);
    take_word(text, result.boot);
    take_number(text, result.device);
    take_word(text, result.processes);
    const auto* const state = std::ranges::find(states, take_until(text, " \n"));
    if (state != std::end(states))
        result.state = static_cast<State>(state - states);
    take_word(text, result.host);
    result.time = std::max(result.time, std::int64_t(0));
    bool is_whole = false;
    for (std::string_view line; !is_whole && !text.empty(); is_whole = line == last_line) {
        line = take_until(text, "\n");
        auto file = record_in(line);
        if (file && std::ranges::find(shared_files, file->name) != std::end(shared_files))
            result.files.push_back(std::move(*file));
    }
    if (!is_whole)
        result.files.clear();
    return result;
}

std::string LockText::text() const {
    const auto number = [](auto value) { return std::to_string(value) + ' '; };
    std::string result = number(process) + std::to_string(changes) + '\n' + number(time) +
                         word_of(boot) + ' ' + number(device) + word_of(processes) + ' ' +
                         std::string(states[static_cast<std::size_t>(state)]) + ' ' +
                         word_of(host) + '\n';
    for (const FileRecord& file : files)
        result += line_of(file) + '\n';
    return result.append(last_line) + '\n';
}

void LockText::sign(std::uint64_t mounted_device) {
    process = getpid();
    boot = boot_of_this_machine();
    device = mounted_device;
    processes = processes_of_this_process();
    host = name_of_this_machine();
}

bool LockText::is_older_than(std::chrono::milliseconds cache_timeout) const {
    const bool was_none = process == 0 && time == 0;
    return was_none ||
           (time > 0 && milliseconds_since_epoch() - time - 60'000 > cache_timeout.count());
}

} // namespace install::tree
