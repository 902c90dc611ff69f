#include "support/values.hpp"

#include "foundation/json/serialize.hpp"

#include <ostream>

namespace test {

using namespace foundation::json;

std::string dump(const Value& value) {
    std::string text;
    if (const auto* vector = value.get_if<ValueVector>()) {
        for (const Value& element : *vector)
            text.append(text.empty() ? "" : ",").append(dump(element));
        return "[" + text + "]";
    }
    if (const auto* map = value.get_if<ValueMap>()) {
        for (const auto& [key, member] : *map)
            text.append(text.empty() ? "" : ",")
                .append(serialize(Value(key)))
                .append(":")
                .append(dump(member));
        return "{" + text + "}";
    }
    const std::string marks[10] = {"undefined", "", "", "", "", "", "", "f", "i", "u"};
    const std::string& mark = marks[value.tag()];
    return value.tag() == 0 ? mark : serialize(value) + mark;
}

std::vector<Value> one_of_each() {
    const std::string long_text = "a text that is too long to lie inside a string object";
    ValueMap map;
    map.emplace("key", long_text);
    map.emplace("list", ValueVector(2, Value(long_text)));
    std::vector<Value> values = {Value(),    Value(Null()),    Value(true),
                                 Value(2.5), Value(long_text), Value(ValueVector(3, Value(map))),
                                 Value(map), Value(0.5F),      Value(-7LL),
                                 Value(7ULL)};
    return values;
}

} // namespace test

namespace foundation::json {

bool operator==(const Value& left, const Value& right) {
    return test::dump(left) == test::dump(right);
}

std::ostream& operator<<(std::ostream& stream, const Value& value) {
    return stream << test::dump(value);
}

} // namespace foundation::json
