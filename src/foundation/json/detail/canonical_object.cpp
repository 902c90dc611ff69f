#include "foundation/json/detail/canonical_object.hpp"

#include "foundation/json/detail/byte_runs.hpp"
#include "foundation/json/serialize.hpp"
#include "foundation/json/typed_integers.hpp"

#include <algorithm>
#include <utility>

namespace foundation::json::detail {

namespace {

// Moves along a text in canonical form. Each operation takes one part of it, and returns whether it
// was there.
class Scanner {
public:
    explicit Scanner(std::string_view text)
        : position_(text.data()),
          end_(text.data() + text.size()) {}

    [[nodiscard]] const char* position() const noexcept { return position_; }
    [[nodiscard]] bool is_at_end() const noexcept { return position_ == end_; }

    bool take(char byte) {
        if (position_ == end_ || *position_ != byte)
            return false;
        ++position_;
        return true;
    }

    // Takes a string without escapes, and returns what is between its quotes.
    std::optional<std::string_view> take_string() {
        if (!take('"'))
            return std::nullopt;
        const char* const content = position_;
        position_ = find_byte_to_escape(content, end_);
        const std::string_view string(content, static_cast<std::size_t>(position_ - content));
        return take('"') ? std::optional(string) : std::nullopt;
    }

    bool take_value() {
        if (take('['))
            return take_rest_of_list();
        return take_string().has_value() || take_integer();
    }

private:
    bool take_rest_of_list() {
        if (take(']'))
            return true;
        do {
            if (!take_string())
                return false;
        } while (take(','));
        return take(']');
    }

    // A whole number without a leading zero: the reader makes a double of it, and the writer the
    // same digits again. One digit more may exceed the 53 bits of a double.
    bool take_integer() {
        constexpr std::ptrdiff_t max_digits = 15;
        take('-');
        const char* const first = position_;
        position_ = std::find_if(first, end_, [](char byte) { return byte < '0' || byte > '9'; });
        const std::ptrdiff_t digits = position_ - first;
        return digits > 0 && digits <= max_digits && (*first != '0' || digits == 1);
    }

    const char* position_;
    const char* end_;
};

// Whether the writer puts the byte of a string into the text as it is.
bool is_plain(char byte) {
    return byte != '"' && byte != '\\' && static_cast<unsigned char>(byte) >= 0x20;
}

// Whether the key changes how other members are read.
bool is_typed_key(std::string_view key) {
    return key == typed_data_key || key == typed_type_key;
}

// Returns where each member of `text` begins; nothing if the text is not recognised.
std::optional<std::vector<std::size_t>> find_members(std::string_view text) {
    std::vector<std::size_t> members;
    Scanner scanner(text);
    if (!scanner.take('{'))
        return std::nullopt;
    if (scanner.take('}'))
        return scanner.is_at_end() ? std::optional(members) : std::nullopt;
    std::string_view previous_key;
    do {
        const auto begin = static_cast<std::size_t>(scanner.position() - text.data());
        const auto key = scanner.take_string();
        const bool ascends = key && (members.empty() || previous_key < *key);
        if (!ascends || is_typed_key(*key) || !scanner.take(':') || !scanner.take_value())
            return std::nullopt;
        members.push_back(begin);
        previous_key = *key;
    } while (scanner.take(','));
    if (!scanner.take('}') || !scanner.is_at_end())
        return std::nullopt;
    return members;
}

// Returns the text of an object with this one member, without its braces. The writer is only ever
// given objects: an installed one need not accept anything else.
std::string member_text(const std::string& key, Value& value) {
    ValueMap single;
    single.emplace(key, std::move(value));
    std::string text = serialize(Value(std::move(single)));
    text.pop_back();
    text.erase(0, 1);
    return text;
}

} // namespace

std::optional<CanonicalObject> CanonicalObject::take(std::string& text) {
    auto members = find_members(text);
    if (!members)
        return std::nullopt;
    CanonicalObject object;
    object.text_.swap(text);
    object.members_.swap(*members);
    return object;
}

bool CanonicalObject::set_member(const std::string& key, Value& value) {
    if (is_typed_key(key) || !std::all_of(key.begin(), key.end(), is_plain))
        return false;
    const std::string member = member_text(key, value);
    const auto place = std::lower_bound(
        members_.begin(), members_.end(), key,
        [this](std::size_t begin, const std::string& wanted) { return key_at(begin) < wanted; });
    const auto index = static_cast<std::size_t>(place - members_.begin());
    if (place != members_.end() && key_at(*place) == key)
        replace_member(index, member);
    else
        insert_member(index, member);
    return true;
}

std::string_view CanonicalObject::key_at(std::size_t begin) const {
    const std::size_t first = begin + 1;
    return std::string_view(text_).substr(first, text_.find('"', first) - first);
}

void CanonicalObject::replace_member(std::size_t index, const std::string& member) {
    const std::size_t begin = members_[index];
    const bool is_last = index + 1 == members_.size();
    const std::size_t end = is_last ? text_.size() - 1 : members_[index + 1] - 1;
    text_.replace(begin, end - begin, member);
    shift_members(index + 1, member.size() - (end - begin));
}

void CanonicalObject::insert_member(std::size_t index, const std::string& member) {
    members_.reserve(members_.size() + 1); // nothing may fail once the text has changed
    if (index < members_.size()) {
        text_.insert(members_[index], member + ",");
        members_.insert(members_.begin() + static_cast<std::ptrdiff_t>(index), members_[index]);
    } else {
        const std::string separator = members_.empty() ? "" : ",";
        const std::size_t place = text_.size() - 1;
        text_.insert(place, separator + member);
        members_.push_back(place + separator.size());
    }
    shift_members(index + 1, member.size() + 1);
}

// `distance` is negative where the text became shorter: unsigned numbers wrap around to the right
// result.
void CanonicalObject::shift_members(std::size_t first, std::size_t distance) {
    for (std::size_t index = first; index < members_.size(); ++index)
        members_[index] += distance;
}

} // namespace foundation::json::detail
