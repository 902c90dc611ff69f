// Values in tests: their comparison, and a text that shows them.

#pragma once

#include "foundation/json/value.hpp"

#include <iosfwd>
#include <string>

namespace foundation::json {

/// Equal in tag and content, all the way down; NaN equals Null.
bool operator==(const Value& left, const Value& right);
std::ostream& operator<<(std::ostream& stream, const Value& value);

} // namespace foundation::json

namespace test {

/// The JSON text of `value` with its tags: undefined is a word, and i, u and f after a number stand
/// for long long, unsigned long long and float.
std::string dump(const foundation::json::Value& value);

} // namespace test
