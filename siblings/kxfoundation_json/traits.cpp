#include "foundation/json/traits.hpp"

#include "foundation/json/value.hpp"

namespace foundation::json {

const char* const traits<Undefined>::name = "undefined";
const char* const traits<Null>::name = "null";
const char* const traits<bool>::name = "boolean";
const char* const traits<double>::name = "double";
const char* const traits<std::string>::name = "string";
const char* const traits<ValueVector>::name = "array";
const char* const traits<ValueMap>::name = "object";
const char* const traits<float>::name = "float";
const char* const traits<long long>::name = "long long";
const char* const traits<unsigned long long>::name = "unsigned long long";

} // namespace foundation::json
