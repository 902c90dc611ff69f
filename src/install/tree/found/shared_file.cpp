#include "install/tree/found/shared_file.hpp"

#include "install/tree/printable_text.hpp"
#include "install/tree/tree_error.hpp"

#include <algorithm>
#include <cstdint>

namespace install::tree {

namespace {

using product_impl::utils::JsonFileDiagnosis;
using Kind = Fault::Kind;

constexpr std::uint64_t most_bytes = std::uint64_t(1) << 30U; // a hundred times what there is

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
    const std::string before = printable_text(text.substr(first, offset - first));
    const auto width = static_cast<std::size_t>(std::count_if(
        before.begin(), before.end(), [&](char byte) { return !continues_a_character(byte); }));
    return "  " + before + printable_text(text.substr(offset, last - offset)) + "\n  " +
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

// What an editor may have put before the object, which is then no object to the reader.
std::size_t bytes_before_object(std::string_view text) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    const std::size_t first = text.starts_with(byte_order_mark) ? byte_order_mark.size() : 0;
    return std::min(text.find_first_not_of(" \t\r\n", first), text.size());
}

} // namespace

SharedFile::SharedFile(const View& view, std::string_view file_name)
    : name(file_name),
      path(view.path_of(name)) {
    read(view);
    if (is(State::missing) || is(State::unreadable))
        return;
    diagnosis = product_impl::utils::diagnoseJson(text, members);
    if (const std::size_t before = bytes_before_object(text); is(State::damaged) && before > 0)
        static_cast<void>(product_impl::utils::diagnoseJson(text.substr(before), members));
}

// Leaves the text of the file, or why there is none.
void SharedFile::read(const View& view) {
    try {
        const FileStatus status = view.status(name);
        if (status.type == FileStatus::Type::nothing)
            return;
        permissions = status.permissions;
        is_regular_ = status.type == FileStatus::Type::regular;
        if (!is_regular_)
            throw tree_error("read", path, "This is not a regular file.");
        if (status.size > most_bytes)
            throw tree_error("read", path, "The file has more than 1 GiB, and is not read.");
        if (auto bytes = view.read(name)) {
            text = std::move(*bytes);
            diagnosis.state = State::damaged; // until it is parsed
        }
    } catch (const tree_error& error) {
        failure_ = error;
        diagnosis.state = State::unreadable;
    }
}

std::optional<Fault> SharedFile::fault() const {
    if (is(State::object))
        return std::nullopt;
    if (is(State::missing))
        return Fault{Kind::missing, path, "There is no file."};
    if (!is_regular_)
        return Fault{Kind::not_regular, path, "This is not a regular file."};
    if (failure_)
        return Fault{Kind::unreadable, path, failure_->what()};
    return Fault{Kind::damaged, path, described(text, diagnosis)};
}

void SharedFile::require_readable() const {
    if (failure_)
        throw tree_error(*failure_);
}

void SharedFile::require_object() const {
    require_readable();
    if (is_damaged())
        throw tree_error("read", path, diagnosis.text);
}

} // namespace install::tree
