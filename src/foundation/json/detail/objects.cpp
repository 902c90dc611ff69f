#include "foundation/json/detail/bracketed_list.hpp"
#include "foundation/json/detail/parser.hpp"

#include <string>
#include <string_view>
#include <tuple>
#include <utility>

namespace foundation::json::detail {

namespace {

// Reads a key, the colon after it, and the whitespace before the value.
parse_result read_key(std::string& key, Iterator& pos, const Iterator& end, bool allow_comments) {
    if (const parse_result result = read_quoted(key, pos, end); result != parse_ok)
        return result;
    skip_whitespace(pos, end, allow_comments);
    if (pos == end)
        return parse_end_of_input;
    if (*pos != ':')
        return parse_no_colon;
    ++pos;
    skip_whitespace(pos, end, allow_comments);
    return parse_ok;
}

} // namespace

parse_result read_members(ValueMap& members, Iterator& pos, const Iterator& end,
                          bool allow_comments, int depth, std::size_t* repeated) {
    constexpr Brackets brackets = {'{', '}', parse_no_object_open, parse_bad_object_separator};
    // Of views, those of another length are not compared at all.
    constexpr std::string_view data_key = typed_data_key;
    constexpr std::string_view type_key = typed_type_key;
    TypedState typed_state;
    auto latest = members.end(); // the member that was inserted last, until a comma follows it
    const auto read_value = [&](const std::string& key, Value& value) {
        if (key == data_key)
            return read_data_member(typed_state, value, pos, end, allow_comments, depth + 1);
        if (key == type_key)
            return read_type_member(typed_state, members, value, pos, end, allow_comments,
                                    depth + 1);
        return parse_value(value, pos, end, allow_comments, depth + 1);
    };
    const auto read_member = [&] {
        latest = members.end();
        std::string key;
        if (const parse_result result = read_key(key, pos, end, allow_comments); result != parse_ok)
            return result;
        // Our own writer sorts the keys, so that most of them belong at the end of the map.
        const std::size_t former_size = members.size();
        const auto member =
            members.emplace_hint(members.end(), std::piecewise_construct,
                                 std::forward_as_tuple(std::move(key)), std::tuple());
        if (members.size() > former_size) {
            latest = member;
            return read_value(member->first, member->second);
        }
        // The first value of a key is kept; a later one is read to its end and dropped, except
        // that of kxdata, which may be read a second time.
        if (repeated != nullptr)
            ++*repeated;
        Value dropped;
        const bool is_data = member->first == data_key;
        return read_value(member->first, is_data ? typed_state.later_data : dropped);
    };
    const parse_result result =
        read_bracketed_list(brackets, pos, end, allow_comments, depth, read_member);
    if (result != parse_ok && latest != members.end())
        members.erase(latest);
    return result;
}

parse_result parse_object_members(ValueMap& out, Iterator& pos, const Iterator& end,
                                  bool allow_comments, int depth) {
    ValueMap members;
    const parse_result result = read_members(members, pos, end, allow_comments, depth);
    if (result == parse_ok)
        out.swap(members);
    return result;
}

parse_result parse_object(Value& out, Iterator& pos, const Iterator& end, bool allow_comments,
                          int depth) {
    ValueMap members;
    const parse_result result = parse_object_members(members, pos, end, allow_comments, depth);
    if (result == parse_ok) {
        Value value(std::move(members));
        store_value(out, value);
    }
    return result;
}

} // namespace foundation::json::detail
