#include "install/tree/state/shared_file.hpp"

#include "foundation/json/serialize.hpp"
#include "foundation/json/typed_integers.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/report/texts.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::serialize;
using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::detail::CanonicalText;
using foundation::json::detail::EditableObject;
using product_impl::utils::diagnoseJson;
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
        return "The file is in UTF-16; it must be in UTF-8.";
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

std::string free_damaged_name(const View& view, const std::string& name) {
    const std::string first = name + std::string(tree_names::damaged_suffix);
    std::string free = first;
    for (int number = 1; view.status(free).is_there(); ++number)
        free = first + '.' + std::to_string(number);
    return free;
}

} // namespace

SharedFile::SharedFile(const View& view, const std::string& name)
    : name_(name),
      path_(view.path_of(name)) {
    try {
        read(view);
        if (is_damaged())
            kept_name_ = free_damaged_name(view, name_);
    } catch (const tree_error& error) {
        failure_ = error;
        diagnosis_.state = State::unreadable;
    }
}

void SharedFile::read(const View& view) {
    seen_ = view.status(name_);
    if (!seen_.is_there())
        return;
    if (is_not_regular())
        throw tree_error("read", path_, not_regular_text);
    if (seen_.size > most_bytes)
        throw tree_error("read", path_, "The file is larger than 1 GiB, and is not read.");
    if (auto bytes = view.read(name_)) {
        text_ = std::move(*bytes);
        kept_name_ = name_ + std::string(tree_names::old_suffix);
        parse();
    }
}

// A text in canonical form is that of an object, and mostly need not become values.
void SharedFile::parse() {
    if (auto canonical = CanonicalText::recognise(text_)) {
        diagnosis_.state = State::object;
        object_ = EditableObject(std::move(*canonical));
        return;
    }
    ValueMap members;
    diagnosis_ = diagnoseJson(text_, members);
    if (const std::size_t before = bytes_before_object(text_); is(State::damaged) && before > 0)
        static_cast<void>(diagnoseJson(text_.substr(before), members));
    object_ = EditableObject(std::move(members));
    if (!is(State::object))
        return;
    if (text_.find_first_not_of(" \t\r\n", diagnosis_.offset) != std::string::npos)
        trailing_bytes_ = diagnosis_.ignored_bytes;
    text_.clear();
}

std::optional<Fault> SharedFile::fault() const {
    if (is(State::object))
        return std::nullopt;
    if (is(State::missing))
        return Fault{Kind::missing, path_, "There is no file."};
    if (is_not_regular())
        return Fault{Kind::not_regular, path_, not_regular_text};
    if (failure_)
        return Fault{Kind::unreadable, path_, failure_->what()};
    return Fault{Kind::damaged, path_, described(text_, diagnosis_)};
}

void SharedFile::require_readable() const {
    if (failure_)
        throw tree_error(*failure_);
}

void SharedFile::require_object() const {
    require_readable();
    if (is_damaged())
        throw tree_error("read", path_, diagnosis_.text);
}

void SharedFile::set(const std::string& key, Value value) {
    object_.set(key, std::move(value));
    is_edited_ = true;
    // The next reader takes this member for the data of typed integers, if there is a type, and
    // refuses the file if it is none.
    if (key == foundation::json::typed_data_key) {
        text_ = std::move(object_).text();
        parse();
        require_object();
    }
}

std::optional<Value> SharedFile::take(const std::string& key) {
    auto value = object_.take(key);
    is_edited_ = is_edited_ || value;
    return value;
}

void SharedFile::require_round_trip() {
    const std::string text = std::move(object_).text();
    ValueMap members;
    const auto state = diagnoseJson(text, members).state;
    Value object(std::move(members));
    if (state != State::object || serialize(object) != text)
        throw tree_error("repair", path_,
                         "Its whole members could not be read back after a write.");
    object_ = EditableObject(std::move(object.get<ValueMap>()));
    diagnosis_ = {};
    diagnosis_.state = State::object;
    trailing_bytes_ = 0;
}

void SharedFile::swap_members(SharedFile& other) noexcept {
    std::swap(object_, other.object_);
    for (SharedFile* const each : {this, &other}) {
        each->is_edited_ = true;
        each->kept_name_.clear();
    }
}

void SharedFile::put_text(Journal& journal) {
    const std::string text = std::move(object_).text();
    if (name_ == tree_names::receipts)
        journal.replace_own(name_, text);
    else
        journal.replace_shared(name_, text, seen_);
}

void SharedFile::keep_old(Journal& journal) const {
    if (!kept_name_.empty())
        journal.keep_copy(name_, kept_name_);
}

} // namespace install::tree
