#include "install/tree/salvage.hpp"

#include "foundation/json/detail/parse_value.hpp"
#include "install/tree/shared_object.hpp"

#include <stdexcept>
#include <string_view>

namespace install::tree {

namespace {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::detail::parse_ok;
using foundation::json::detail::parse_value;
using Position = std::string::const_iterator;

class MemberScanner {
public:
    MemberScanner(Position position, Position end) : position_(position), end_(end) {}

    [[nodiscard]] Position position() const { return position_; }

    bool take(char byte) {
        skip_whitespace();
        if (position_ == end_ || *position_ != byte)
            return false;
        ++position_;
        return true;
    }

    bool take_value(Value& value) {
        skip_whitespace();
        return parse_value(value, position_, end_, false) == parse_ok;
    }

    // Takes a key, a colon and a value.
    bool take_member(std::string& key, Value& value) {
        Value name;
        if (!take_value(name) || name.get_if<std::string>() == nullptr || !take(':'))
            return false;
        key = std::move(name.get<std::string>());
        return take_value(value);
    }

private:
    void skip_whitespace() {
        constexpr std::string_view whitespace = " \t\r\n";
        while (position_ != end_ && whitespace.find(*position_) != std::string_view::npos)
            ++position_;
    }

    Position position_;
    Position end_;
};

} // namespace

ValueMap whole_members(const std::string& text) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    const std::ptrdiff_t first = text.starts_with(byte_order_mark) ? byte_order_mark.size() : 0;
    MemberScanner scanner(text.begin() + first, text.end());
    ValueMap members;
    if (!scanner.take('{'))
        return members;
    const Position begin = scanner.position();
    Position end = begin;
    std::string key;
    Value value;
    while (scanner.take_member(key, value)) {
        const Position after_value = scanner.position();
        const bool goes_on = scanner.take(',');
        if (!goes_on && !scanner.take('}'))
            break;
        end = after_value;
        members.emplace(key, std::move(value)); // of several with one key the first counts
        if (!goes_on)
            break;
    }
    try {
        // As one object, because typed integers are two members of it.
        return members_of("{" + std::string(begin, end) + "}");
    } catch (const std::runtime_error&) {
        return members;
    }
}

} // namespace install::tree
