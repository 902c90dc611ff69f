#include "support/values.hpp"

#include "foundation/json/serialize.hpp"

#include <cmath>
#include <ostream>

namespace foundation::json {

namespace {

template <class T>
bool both_hold_equal(const Value& left, const Value& right) {
    const auto* const content = left.get_if<T>();
    return content != nullptr && *content == *right.get_if<T>();
}

bool both_nan(const Value& left, const Value& right) {
    const auto* const number = left.get_if<double>();
    return number != nullptr && std::isnan(*number) && std::isnan(*right.get_if<double>());
}

} // namespace

bool operator==(const Value& left, const Value& right) {
    if (left.tag() != right.tag())
        return false;
    return left.tag() <= traits<Null>::tag || both_hold_equal<bool>(left, right) ||
           both_hold_equal<double>(left, right) || both_nan(left, right) ||
           both_hold_equal<std::string>(left, right) || both_hold_equal<ValueVector>(left, right) ||
           both_hold_equal<ValueMap>(left, right) || both_hold_equal<float>(left, right) ||
           both_hold_equal<long long>(left, right) ||
           both_hold_equal<unsigned long long>(left, right);
}

std::ostream& operator<<(std::ostream& stream, const Value& value) {
    return stream << "tag " << value.tag() << ": " << serialize(value);
}

} // namespace foundation::json

namespace test {

using namespace foundation::json;

std::vector<Value> one_of_each() {
    const std::string long_text = "a text that is too long to lie inside a string object";
    ValueMap map;
    map.emplace("key", long_text);
    map.emplace("list", ValueVector(2, Value(long_text)));
    std::vector<Value> values;
    values.emplace_back(Undefined());
    values.emplace_back(Null());
    values.emplace_back(true);
    values.emplace_back(2.5);
    values.emplace_back(long_text);
    values.emplace_back(ValueVector(3, Value(map)));
    values.emplace_back(map);
    values.emplace_back(0.5F);
    values.emplace_back(-7LL);
    values.emplace_back(7ULL);
    return values;
}

} // namespace test
