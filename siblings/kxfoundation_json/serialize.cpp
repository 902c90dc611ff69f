#include "foundation/json/serialize.hpp"

#include "foundation/json/typed_integers.hpp"
#include "foundation/json/value.hpp"
#include "quoted_string.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cfenv>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace foundation::json {

namespace {

// Whether there are elements, and all are of this type.
template <class Integer>
bool holds_only(const ValueVector& elements) {
    return !elements.empty() && std::all_of(elements.begin(), elements.end(), [](const Value& it) {
        return it.tag() == traits<Integer>::tag;
    });
}

// If kxdata holds integers but kxtype names no type of their sign, returns the name of such a type;
// otherwise null. The reader makes such an object of a text with several kxtype: it keeps the first
// one, and reads the integers as the last type that was named.
const char* type_missing_from_kxtype(const ValueMap& members) {
    const auto data = members.find(typed_data_key);
    const auto type = members.find(typed_type_key);
    if (data == members.end() || type == members.end())
        return nullptr;
    const auto* const elements = data->second.get_if<ValueVector>();
    const auto* const name = type->second.get_if<std::string>();
    if (elements == nullptr)
        return nullptr;
    if (holds_only<long long>(*elements))
        return name != nullptr && detail::is_signed_typed_name(*name) ? nullptr : "int64";
    if (holds_only<unsigned long long>(*elements))
        return name != nullptr && detail::is_unsigned_typed_name(*name) ? nullptr : "uint64";
    return nullptr;
}

// Whether `number` is a whole number below 2^53, which is written in digits: the shortest text may
// have an exponent, and other people's integer readers refuse that. Minus zero is not an integer.
// The bits decide, as a host may have made all arithmetic take subnormal numbers for zero.
bool is_exact_integer(double number) {
    constexpr int fraction_bits = 52;
    constexpr std::uint64_t fraction = (std::uint64_t(1) << fraction_bits) - 1;
    const auto bits = std::bit_cast<std::uint64_t>(number);
    const int exponent = static_cast<int>(bits >> fraction_bits & 0x7FF) - 1023;
    if (exponent < 0)
        return bits == 0;
    return exponent <= fraction_bits && (bits & fraction >> exponent) == 0;
}

bool is_subnormal(double number) {
    return (std::bit_cast<std::uint64_t>(number) >> 52U & 0x7FF) == 0;
}

// While it lives, arithmetic has its subnormal numbers.
class DefaultArithmetic {
public:
    DefaultArithmetic() noexcept {
        std::fegetenv(&environment_);
        std::fesetenv(FE_DFL_ENV);
    }
    DefaultArithmetic(const DefaultArithmetic&) = delete;
    DefaultArithmetic& operator=(const DefaultArithmetic&) = delete;
    ~DefaultArithmetic() { std::fesetenv(&environment_); }

private:
    std::fenv_t environment_ = {};
};

// Appends the text of values to one string.
class Writer {
public:
    void write(const Value& value) {
        switch (value.tag()) {
        case traits<bool>::tag:
            text_ += *value.get_if<bool>() ? "true" : "false";
            break;
        case traits<double>::tag:
            write_floating(*value.get_if<double>());
            break;
        case traits<std::string>::tag:
            append_quoted(text_, *value.get_if<std::string>());
            break;
        case traits<ValueVector>::tag:
            write_array(*value.get_if<ValueVector>());
            break;
        case traits<ValueMap>::tag:
            write_object(*value.get_if<ValueMap>());
            break;
        case traits<float>::tag:
            write_float(*value.get_if<float>());
            break;
        case traits<long long>::tag:
            write_number(*value.get_if<long long>());
            break;
        case traits<unsigned long long>::tag:
            write_number(*value.get_if<unsigned long long>());
            break;
        default: // Undefined and Null
            text_ += "null";
        }
    }

    std::string take_text() noexcept { return std::move(text_); }

private:
    void write_array(const ValueVector& elements) {
        char separator = '[';
        for (const Value& element : elements) {
            text_ += separator;
            write(element);
            separator = ',';
        }
        text_ += elements.empty() ? "[]" : "]";
    }

    void write_object(const ValueMap& members) {
        const char* const type = type_missing_from_kxtype(members);
        char separator = '{';
        // The kxtype that the object holds comes first, so that the reader keeps it. A second one
        // after the data sets the type.
        if (type != nullptr) {
            write_key(separator, typed_type_key);
            write(members.find(typed_type_key)->second);
            separator = ',';
        }
        for (const auto& [key, value] : members) {
            write_key(separator, key);
            if (type != nullptr && key == typed_type_key)
                append_quoted(text_, type);
            else
                write(value);
            separator = ',';
        }
        text_ += members.empty() ? "{}" : "}";
    }

    void write_key(char separator, std::string_view key) {
        text_ += separator;
        append_quoted(text_, key);
        text_ += ':';
    }

    void write_floating(double number) {
        if (is_exact_integer(number))
            write_number(static_cast<long long>(number));
        else if (std::isnan(number))
            text_ += "null";
        else if (std::isinf(number))
            text_ += number < 0 ? "-1e999" : "1e999"; // out of range, which reads as infinity
        else if (is_subnormal(number))
            write_subnormal(number);
        else
            write_number(number);
    }

    // As a double, as which it reads back: 0.1F is not the number 0.1.
    void write_float(const float& number) {
        const DefaultArithmetic arithmetic; // a conversion is arithmetic, too
        write_floating(number);
    }

    void write_subnormal(double number) {
        const DefaultArithmetic arithmetic; // std::to_chars itself compares with zero
        write_number(number);
    }

    template <class Number>
    void write_number(Number number) {
        std::array<char, 32> digits; // the longest are doubles: 24 characters
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        text_.append(digits.data(), end);
    }

    std::string text_;
};

} // namespace

std::string serialize(const Value& value) {
    Writer writer;
    writer.write(value);
    return writer.take_text();
}

} // namespace foundation::json
