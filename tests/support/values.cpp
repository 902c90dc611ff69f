#include "support/values.hpp"

#include "foundation/json/serialize.hpp"

#include <ostream>

namespace test {

using namespace foundation::json;

std::string dump(const Value& value) {
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

bool operator==(const Value& left, const Value& right) {
    return test::dump(left) == test::dump(right);
}

std::ostream& operator<<(std::ostream& stream, const Value& value) {
    return stream << test::dump(value);
}

} // namespace foundation::json
