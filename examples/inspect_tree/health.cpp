#include "health.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "foundation/json/detail/parse_value.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/product_impl/utils/paths.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <set>
#include <string_view>

namespace inspect_tree {

namespace {

namespace fs = std::filesystem;
namespace utils = install::product_impl::utils;
using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using utils::JsonFileDiagnosis;

// Returns the line with a fault, and a caret under the fault. Control characters become dots; a
// long line is truncated.
std::string excerpt(const std::string& text, std::size_t offset, std::size_t column) {
    constexpr std::size_t bytes_before = 60;
    constexpr std::size_t bytes_after = 20;
    const auto continues_a_character = [](char byte) { return (byte & 0xC0) == 0x80; };
    std::size_t first = offset - std::min(column - 1, bytes_before);
    while (first < offset && continues_a_character(text[first]))
        ++first;
    const std::size_t last = std::min({text.find('\n', offset), offset + bytes_after, text.size()});
    std::string line = text.substr(first, last - first);
    std::replace_if(
        line.begin(), line.end(),
        [](char byte) { return (byte >= 0 && byte < ' ') || byte == '\x7F'; }, '.');
    const auto indent =
        std::count_if(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(offset - first),
                      [&](char byte) { return !continues_a_character(byte); });
    return "    " + line + "\n    " + std::string(static_cast<std::size_t>(indent), ' ') + "^";
}

std::string described(const JsonFileDiagnosis& diagnosis, const std::string& text) {
    if (diagnosis.state != JsonFileDiagnosis::State::damaged)
        return diagnosis.text;
    return diagnosis.text + "\n  code " + std::to_string(diagnosis.code) + ", byte " +
           std::to_string(diagnosis.offset) + ", line " + std::to_string(diagnosis.line) +
           ", column " + std::to_string(diagnosis.column) + ":\n" +
           excerpt(text, diagnosis.offset, diagnosis.column);
}

// Returns the members of a JSON file. If it does not hold an object, adds a problem and returns
// nothing. The file is read only once, because another process may be writing it.
std::optional<ValueMap> members(const fl::filesystem::path& path, Health& health) {
    const std::string name = fl::i18n::ustring_to_utf8(path.text());
    std::string text;
    const JsonFileDiagnosis diagnosis = utils::diagnoseJsonFile(path.text(), text);
    if (diagnosis.state != JsonFileDiagnosis::State::object) {
        health.problems.push_back(name + ": " + described(diagnosis, text));
        return std::nullopt;
    }
    if (diagnosis.ignored_bytes > 0)
        health.notes.push_back(name +
                               ": trailing bytes after the object, which the next write drops: " +
                               std::to_string(diagnosis.ignored_bytes));
    Value document;
    auto pos = text.cbegin();
    static_cast<void>(foundation::json::detail::parse_value(document, pos, text.cend(), false));
    return std::move(document.get<ValueMap>());
}

// Returns milliseconds since the Unix epoch as ISO 8601 in UTC; nothing if `value` is not a
// plausible time.
std::optional<std::string> iso_time(const Value& value) {
    using namespace std::chrono;
    const auto* const number = value.get_if<double>();
    if (number == nullptr || !(std::abs(*number) < 6e13)) // about the years 69 to 3871
        return std::nullopt;
    const sys_time<milliseconds> time{milliseconds(static_cast<std::int64_t>(*number))};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()),
                  static_cast<int>(clock.subseconds().count()));
    return text.data();
}

void inspect_record(const ValueMap& installed_record, Health& health) {
    for (const auto& [basecode, value] : installed_record) {
        if (const auto time = iso_time(value))
            health.products.push_back(*time + "  " + basecode);
        else
            health.problems.push_back("installed record: \"" + basecode +
                                      "\" has no time of a write");
    }
    std::sort(health.products.begin(), health.products.end());
}

// Adds the files that an entry lists to `listed`. A missing one is a problem.
void inspect_entry(const std::string& root, const std::string& key, const Value& paths,
                   std::set<fs::path>& listed, Health& health) {
    const auto* const elements = paths.get_if<ValueVector>();
    if (elements == nullptr) {
        health.problems.push_back("contents map: \"" + key + "\" is no list of files");
        return;
    }
    for (const Value& element : *elements) {
        const auto* const path = element.get_if<std::string>();
        if (path == nullptr) {
            health.problems.push_back("contents map: \"" + key +
                                      "\" lists something that is no path");
            continue;
        }
        const fs::path file = (fs::path(root) / fs::path(*path).relative_path()).lexically_normal();
        std::error_code error;
        if (!fs::is_regular_file(file, error))
            health.problems.push_back("missing: " + file.string() + ", listed for \"" + key + "\"");
        else if (listed.insert(file).second)
            ++health.xml_files;
    }
}

void inspect_contents(const std::string& root, const ValueMap& contents, Health& health) {
    std::set<fs::path> listed;
    for (const auto& [key, paths] : contents)
        inspect_entry(root, key, paths, listed, health);
    const fs::path products = (fs::path(root) / "appdata/products").lexically_normal();
    if (!fs::is_directory(products))
        return;
    std::set<fs::path> unlisted;
    for (const auto& entry : fs::recursive_directory_iterator(products))
        if (!entry.is_directory() && !listed.contains(entry.path()))
            unlisted.insert(entry.path());
    for (const fs::path& path : unlisted)
        health.problems.push_back("not listed: " + path.string());
}

} // namespace

Health inspect(const std::string& root) {
    Health health;
    const install::ustring install_root = fl::i18n::utf8_to_ustring(root);
    if (const auto entries = members(utils::getInstalledProdDataPath(install_root), health))
        inspect_record(*entries, health);
    if (const auto contents = members(utils::getContentsMapPath(install_root), health))
        inspect_contents(root, *contents, health);
    return health;
}

} // namespace inspect_tree
