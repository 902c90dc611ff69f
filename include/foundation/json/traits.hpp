/// \file
/// The ten alternatives of a JSON value: their types, tags and names.

#pragma once

#include "fl/export.hpp"

#include <map>
#include <string>
#include <vector>

/// \namespace foundation
/// Services that know nothing of installing.

/// JSON: values in memory and their text.
namespace foundation::json {

class Value;

/// No value at all: what a Value holds before anything was stored in it.
struct Undefined {};

/// The literal null.
struct Null {};

/// An array. Elements keep the order of the document.
using ValueVector = std::vector<Value>;

/// An object. Keys are UTF-8, unique, and iterate in the order of their unsigned bytes, whatever
/// their order in the document.
using ValueMap = std::map<std::string, Value>;

/// For each alternative T, `tag`, its number, and `name`, a NUL-terminated text in ASCII: the word
/// that error messages have for it.
template <class T>
struct traits;

/// What the traits of all alternatives begin with.
template <int Tag>
struct alternative {
    static constexpr int tag = Tag; ///< the number of the alternative, which Value::tag gives
};

/// No value at all. The reader never makes one.
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
/// A number, as the reader makes it outside of typed values.
template <>
struct traits<double> : alternative<3> {
    KX_EXPORT static const char* const name; ///< "double"
};
/// A string. The reader takes over its bytes unchecked; escapes become UTF-8.
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
/// A number that a program stored. It is written as a double and reads back as one.
template <>
struct traits<float> : alternative<7> {
    KX_EXPORT static const char* const name; ///< "float"
};
/// A number of a typed value whose type is signed.
template <>
struct traits<long long> : alternative<8> {
    KX_EXPORT static const char* const name; ///< "long long"
};
/// A number of a typed value whose type is unsigned.
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
