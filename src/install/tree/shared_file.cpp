#include "install/tree/shared_file.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/shared_object.hpp"
#include "install/tree/tree_error.hpp"

#include <algorithm>
#include <string_view>

namespace install::tree {

namespace {

using product_impl::utils::JsonFileDiagnosis;
using Kind = Fault::Kind;

// Returns the line with a fault, and a caret under the fault. A long line is truncated.
std::string excerpt(std::string_view text, std::size_t offset, std::size_t column) {
    constexpr std::size_t bytes_before = 60;
    constexpr std::size_t bytes_after = 20;
    const auto continues_a_character = [](char byte) { return (byte & 0xC0) == 0x80; };
    std::size_t first = offset - std::min(column - 1, bytes_before);
    while (first < offset && continues_a_character(text[first]))
        ++first;
    std::size_t last = std::min({text.find('\n', offset), offset + bytes_after, text.size()});
    while (last > offset && last < text.size() && continues_a_character(text[last]))
        --last;
    const std::string before = printable(text.substr(first, offset - first));
    const auto width = static_cast<std::size_t>(std::count_if(
        before.begin(), before.end(), [&](char byte) { return !continues_a_character(byte); }));
    return "  " + before + printable(text.substr(offset, last - offset)) + "\n  " +
           std::string(width, ' ') + "^";
}

// Returns the usual cause of what is wrong with a text; empty if it is none of them.
std::string hint(std::string_view text, const JsonFileDiagnosis& diagnosis) {
    if (text.empty())
        return "The file is empty, as a crash or a full disk leaves it.";
    if (text.starts_with("\xEF\xBB\xBF"))
        return "The file begins with a byte order mark, which an editor may have added.";
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF") ||
        text.starts_with(std::string_view("{\0", 2)) ||
        text.starts_with(std::string_view("\0{", 2)))
        return "The file is in UTF-16; it ought to be in UTF-8.";
    if (text.find('\0') != std::string_view::npos)
        return "The file has NUL bytes, as a power failure leaves them.";
    if (diagnosis.code == foundation::json::detail::parse_end_of_input)
        return "The file is truncated, as a crash or a full disk leaves it.";
    return {};
}

std::string described(const std::string& text, const JsonFileDiagnosis& diagnosis) {
    std::string result = diagnosis.text;
    if (diagnosis.state == JsonFileDiagnosis::State::damaged)
        result += " Code " + std::to_string(diagnosis.code) + ", byte " +
                  std::to_string(diagnosis.offset) + ", line " + std::to_string(diagnosis.line) +
                  ", column " + std::to_string(diagnosis.column) + ":\n" +
                  excerpt(text, diagnosis.offset, diagnosis.column);
    const std::string cause = hint(text, diagnosis);
    return cause.empty() ? result : result + '\n' + cause;
}

// Leaves the text of the file, or its fault.
void read_text(const Directory& appdata, SharedFile& file) {
    const std::string path = appdata.path_of(file.name);
    try {
        const auto status = appdata.status(file.name);
        if (!status) {
            file.fault = {Kind::missing, path, "There is no file."};
        } else if (status->type != FileStatus::Type::regular) {
            file.fault = {Kind::not_regular, path, "This is not a regular file."};
        } else if (auto text = appdata.read(file.name)) {
            file.text = std::move(*text);
        }
    } catch (const tree_error& error) {
        file.fault = {Kind::unreadable, path, error.what()};
    }
}

} // namespace

SharedFile read_shared_file(const Directory& appdata, const std::string& name) {
    SharedFile file;
    file.name = name;
    read_text(appdata, file);
    if (file.fault)
        return file;
    const JsonFileDiagnosis diagnosis = product_impl::utils::diagnoseJson(file.text);
    if (diagnosis.state == JsonFileDiagnosis::State::object) {
        file.members = members_of(file.text);
        if (file.text.find_first_not_of(" \t\r\n", diagnosis.offset) != std::string::npos)
            file.trailing_bytes = diagnosis.ignored_bytes;
    } else {
        file.fault = {Kind::damaged, appdata.path_of(name), described(file.text, diagnosis)};
    }
    return file;
}

} // namespace install::tree
