#include "foundation/json/detail/canonical_text.hpp"

#include "foundation/json/detail/plain_bytes.hpp"
#include "foundation/json/typed_integers.hpp"

#include <algorithm>
#include <utility>

namespace foundation::json::detail {

namespace {

// Moves along a text in canonical form. Each operation consumes one part of it, and returns whether
// it was there.
class Scanner {
public:
    explicit Scanner(std::string_view text)
        : position_(text.data()),
          end_(text.data() + text.size()) {}

    [[nodiscard]] bool is_at_end() const noexcept { return position_ == end_; }

    bool consume(char byte) {
        if (position_ == end_ || *position_ != byte)
            return false;
        ++position_;
        return true;
    }

    // Consumes a string without escapes, and returns what is between its quotes.
    std::optional<std::string_view> consume_string() {
        if (!consume('"'))
            return std::nullopt;
        const char* const content = position_;
        position_ = find_byte_to_escape(content, end_);
        const std::string_view string(content, static_cast<std::size_t>(position_ - content));
        return consume('"') ? std::optional(string) : std::nullopt;
    }

    // Consumes the members of an object and its closing brace, and calls `found` with where each
    // begins. With `may_nest` their values may be objects, too; not those in these, so that no text
    // makes this recurse.
    template <class Found>
    bool consume_members(const Found& found, bool may_nest) {
        if (consume('}'))
            return true;
        std::optional<std::string_view> previous_key;
        do {
            const char* const begin = position_;
            const auto key = consume_string();
            const bool ascends = key && (!previous_key || *previous_key < *key);
            // The keys of typed integers change how other members are read.
            if (!ascends || *key == typed_data_key || *key == typed_type_key || !consume(':') ||
                !consume_value(may_nest))
                return false;
            found(begin);
            previous_key = key;
        } while (consume(','));
        return consume('}');
    }

private:
    bool consume_value(bool may_be_object) {
        if (consume('['))
            return consume_rest_of_list();
        if (may_be_object && consume('{'))
            return consume_members([](const char* /*begin*/) {}, false);
        return consume_string().has_value() || consume_integer();
    }

    bool consume_rest_of_list() {
        if (consume(']'))
            return true;
        do {
            if (!consume_string())
                return false;
        } while (consume(','));
        return consume(']');
    }

    // A whole number without a leading zero: the reader makes a double of it, and the writer the
    // same digits again. One digit more may exceed the 53 bits of a double.
    bool consume_integer() {
        constexpr std::ptrdiff_t max_digits = 15;
        consume('-');
        const char* const first = position_;
        position_ = std::find_if(first, end_, [](char byte) { return byte < '0' || byte > '9'; });
        const std::ptrdiff_t digits = position_ - first;
        return digits > 0 && digits <= max_digits && (*first != '0' || digits == 1);
    }

    const char* position_;
    const char* end_;
};

// Returns where each member of `text` begins; nothing if the text is not recognised.
std::optional<std::vector<std::size_t>> find_members(std::string_view text) {
    std::vector<std::size_t> members;
    Scanner scanner(text);
    if (!scanner.consume('{'))
        return std::nullopt;
    const auto add = [&](const char* begin) {
        members.push_back(static_cast<std::size_t>(begin - text.data()));
    };
    if (!scanner.consume_members(add, true) || !scanner.is_at_end())
        return std::nullopt;
    return members;
}

} // namespace

std::optional<CanonicalText> CanonicalText::recognise(std::string& text) {
    auto members = find_members(text);
    if (!members)
        return std::nullopt;
    CanonicalText recognised;
    recognised.text_.swap(text);
    recognised.members_.swap(*members);
    return recognised;
}

bool CanonicalText::set(std::string_view member) {
    const auto members = find_members(member);
    if (!members || members->size() != 1)
        return false;
    member = member.substr(1, member.size() - 2); // without the braces
    const std::string_view key = member.substr(1, member.find('"', 1) - 1);
    const auto place = std::lower_bound(
        members_.begin(), members_.end(), key,
        [this](std::size_t begin, std::string_view wanted) { return key_at(begin) < wanted; });
    const auto index = static_cast<std::size_t>(place - members_.begin());
    if (place != members_.end() && key_at(*place) == key)
        replace_member(index, member);
    else
        insert_member(index, member);
    return true;
}

std::string_view CanonicalText::key_at(std::size_t begin) const {
    const std::size_t first = begin + 1;
    return std::string_view(text_).substr(first, text_.find('"', first) - first);
}

void CanonicalText::replace_member(std::size_t index, std::string_view member) {
    const std::size_t begin = members_[index];
    const bool is_last = index + 1 == members_.size();
    const std::size_t end = is_last ? text_.size() - 1 : members_[index + 1] - 1;
    text_.replace(begin, end - begin, member);
    shift_members(index + 1, member.size() - (end - begin));
}

void CanonicalText::insert_member(std::size_t index, std::string_view member) {
    members_.reserve(members_.size() + 1); // nothing may fail once the text has changed
    if (index < members_.size()) {
        text_.insert(members_[index], std::string(member) + ',');
        members_.insert(members_.begin() + static_cast<std::ptrdiff_t>(index), members_[index]);
    } else {
        const std::string separator = members_.empty() ? "" : ",";
        const std::size_t place = text_.size() - 1;
        text_.insert(place, separator + std::string(member));
        members_.push_back(place + separator.size());
    }
    shift_members(index + 1, member.size() + 1);
}

// `distance` is negative where the text became shorter: unsigned numbers wrap around to the right
// result.
void CanonicalText::shift_members(std::size_t first, std::size_t distance) {
    for (std::size_t index = first; index < members_.size(); ++index)
        members_[index] += distance;
}

} // namespace foundation::json::detail
