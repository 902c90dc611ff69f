#include "install/product_impl/utils/canonical_object.hpp"

#include "foundation/json/detail/byte_runs.hpp"
#include "foundation/json/serialize.hpp"

#include <algorithm>
#include <string_view>

namespace install::product_impl::utils {

namespace {

// Moves over a text as long as it is canonical. Each step says whether it found what it is for.
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

    // A string without escapes, which is given without its quotes.
    std::optional<std::string_view> take_string() {
        if (!take('"'))
            return std::nullopt;
        const char* const content = position_;
        position_ = foundation::json::detail::find_byte_to_escape(content, end_);
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

    // A whole number that a double holds exactly and is written in digits. The writer has a shorter
    // form for one that ends in many zeros.
    bool take_integer() {
        constexpr std::ptrdiff_t most_digits = 15;
        constexpr std::ptrdiff_t most_zeros = 4;
        const char* const first = position_;
        position_ = std::find_if(first, end_, [](char byte) { return byte < '0' || byte > '9'; });
        const char* last_nonzero = position_;
        while (last_nonzero != first && last_nonzero[-1] == '0')
            --last_nonzero;
        return last_nonzero != first && *first != '0' && position_ - first <= most_digits &&
               position_ - last_nonzero <= most_zeros;
    }

    const char* position_;
    const char* end_;
};

// The two keys that change how the reader takes other members of the object.
bool is_special(std::string_view key) {
    return key == "kxdata" || key == "kxtype";
}

std::string_view key_at(const std::string& text, std::size_t member) {
    const std::size_t begin = member + 1;
    return std::string_view(text).substr(begin, text.find('"', begin) - begin);
}

} // namespace

std::optional<CanonicalObject> CanonicalObject::recognise(const std::string& text) {
    CanonicalObject object;
    Scanner scanner(text);
    if (!scanner.take('{'))
        return std::nullopt;
    if (scanner.take('}'))
        return scanner.is_at_end() ? std::optional(object) : std::nullopt;
    std::string_view previous_key;
    do {
        const auto begin = static_cast<std::size_t>(scanner.position() - text.data());
        const auto key = scanner.take_string();
        const bool ascends = key && (object.members_.empty() || previous_key < *key);
        if (!ascends || is_special(*key) || !scanner.take(':') || !scanner.take_value())
            return std::nullopt;
        object.members_.push_back(begin);
        previous_key = *key;
    } while (scanner.take(','));
    if (!scanner.take('}') || !scanner.is_at_end())
        return std::nullopt;
    return object;
}

void CanonicalObject::set_member(std::string& text, const std::string& key,
                                 const std::string& value) const {
    std::string member = foundation::json::serialize(foundation::json::Value(key));
    member.append(":").append(value);
    const auto place = std::lower_bound(
        members_.begin(), members_.end(), key,
        [&](std::size_t other, const std::string& wanted) { return key_at(text, other) < wanted; });
    const std::size_t closing_brace = text.size() - 1;
    if (place == members_.end()) {
        text.insert(closing_brace, (members_.empty() ? "" : ",") + member);
    } else if (key_at(text, *place) == key) {
        const auto next = place + 1;
        const std::size_t member_end = next == members_.end() ? closing_brace : *next - 1;
        text.replace(*place, member_end - *place, member);
    } else {
        text.insert(*place, member + ",");
    }
}

} // namespace install::product_impl::utils
