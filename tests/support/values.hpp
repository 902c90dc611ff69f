// Values to test with, and their comparison.

#pragma once

#include "foundation/json/value.hpp"

#include <iosfwd>
#include <string>
#include <vector>

namespace foundation::json {

/// Equal in tag and content, all the way down; NaN equals Null.
bool operator==(const Value& left, const Value& right);
std::ostream& operator<<(std::ostream& stream, const Value& value);

} // namespace foundation::json

namespace test {

/// The JSON text of `value` with its tags in sight: undefined is a word of its own, and i, u and f
/// behind a number stand for long long, unsigned long long and float.
std::string dump(const foundation::json::Value& value);

/// One value of each alternative, at the index of its tag. String, vector and map hold something
/// that is on the heap.
std::vector<foundation::json::Value> one_of_each();

} // namespace test
