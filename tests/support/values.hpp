// Values in tests: their comparison, and a text that shows them.

#pragma once

#include "foundation/json/serialize.hpp"
#include "foundation/json/value.hpp"

#include <ostream>
#include <string>

namespace test {

/// The JSON text of `value` with its tags: undefined is a word, and i, u and f after a number stand
/// for long long, unsigned long long and float.
inline std::string dump(const foundation::json::Value& value) {
    using namespace foundation::json;
    std::string text;
    if (const auto* vector = value.get_if<ValueVector>()) {
        for (const Value& element : *vector)
            text += (text.empty() ? "" : ",") + dump(element);
        return "[" + text + "]";
    }
    if (const auto* map = value.get_if<ValueMap>()) {
        for (const auto& [key, member] : *map)
            text += (text.empty() ? "" : ",") + serialize(Value(key)) + ":" + dump(member);
        return "{" + text + "}";
    }
    const char* const marks[] = {"undefined", "", "", "", "", "", "", "f", "i", "u"};
    return (value.tag() == 0 ? "" : serialize(value)) + marks[value.tag()];
}

} // namespace test

namespace foundation::json {

/// Equal in tag and content, all the way down; NaN equals Null.
inline bool operator==(const Value& left, const Value& right) {
    return test::dump(left) == test::dump(right);
}
inline std::ostream& operator<<(std::ostream& stream, const Value& value) {
    return stream << test::dump(value);
}

} // namespace foundation::json
