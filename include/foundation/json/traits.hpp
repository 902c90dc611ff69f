/// \file
/// The ten alternatives of a JSON value: their types, tags and names.

#pragma once

#include "fl/export.hpp"

#include <map>
#include <string>
#include <vector>

/// \namespace foundation
/// Services that do not depend on the installer.

/// JSON: values in memory and their text.
namespace foundation::json {

class Value;

/// No value: what a default-constructed Value holds.
struct Undefined {};

/// The literal null.
struct Null {};

/// An array. Elements keep the order of the text.
using ValueVector = std::vector<Value>;

/// An object. Keys are unique and in UTF-8, which is not checked. They iterate in the order of
/// their unsigned bytes, whatever their order in the text.
using ValueMap = std::map<std::string, Value>;

/// For each alternative T: `tag`, its number, and `name`, the NUL-terminated ASCII word that error
/// messages use for it.
template <class T>
struct traits;

/// The base class of the traits of all alternatives.
template <int Tag>
struct alternative {
    static constexpr int tag = Tag; ///< the number that Value::tag returns
};

/// No value. The reader creates one only if memory runs out: see detail::parse_value.
template <>
struct traits<Undefined> : alternative<0> {
    KX_EXPORT static const char* const name; ///< "undefined"
};
/// The literal null.
template <>
struct traits<Null> : alternative<1> {
    KX_EXPORT static const char* const name; ///< "null"
};
/// The literals true and false.
template <>
struct traits<bool> : alternative<2> {
    KX_EXPORT static const char* const name; ///< "boolean"
};
/// A number. The reader creates it from every number but those in the data of a typed value.
template <>
struct traits<double> : alternative<3> {
    KX_EXPORT static const char* const name; ///< "double"
};
/// A string. The reader copies its bytes unchecked, and converts escapes to UTF-8.
template <>
struct traits<std::string> : alternative<4> {
    KX_EXPORT static const char* const name; ///< "string"
};
/// An array.
template <>
struct traits<ValueVector> : alternative<5> {
    KX_EXPORT static const char* const name; ///< "array"
};
/// An object.
template <>
struct traits<ValueMap> : alternative<6> {
    KX_EXPORT static const char* const name; ///< "object"
};
/// A number that a program stored; the reader creates none. It is written as a double and reads
/// back as one.
template <>
struct traits<float> : alternative<7> {
    KX_EXPORT static const char* const name; ///< "float"
};
/// An integer in the data of a typed value whose type is signed.
template <>
struct traits<long long> : alternative<8> {
    KX_EXPORT static const char* const name; ///< "long long"
};
/// An integer in the data of a typed value whose type is unsigned.
template <>
struct traits<unsigned long long> : alternative<9> {
    KX_EXPORT static const char* const name; ///< "unsigned long long"
};

/// One of the ten types that a Value can hold.
template <class T>
concept Alternative = requires {
    traits<T>::tag;
};

} // namespace foundation::json
