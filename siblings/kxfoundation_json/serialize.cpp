#include "foundation/json/serialize.hpp"

#include "foundation/json/detail/byte_runs.hpp"
#include "foundation/json/detail/typed_names.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace foundation::json {

namespace {

// Whether all elements hold the same integer type, and there are some.
template <class Integer>
bool holds_only(const ValueVector& elements) {
    return !elements.empty() && std::all_of(elements.begin(), elements.end(), [](const Value& it) {
        return it.tag() == traits<Integer>::tag;
    });
}

// The name of the type that the integers under kxdata were read as, if kxtype holds another one,
// and null otherwise. That is what comes of an object with several kxtype: the first one is kept,
// the last one that names a type has its way.
const char* type_not_told_by_kxtype(const ValueMap& members) {
    const auto data = members.find("kxdata");
    const auto type = members.find("kxtype");
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
            write_string(*value.get_if<std::string>());
            break;
        case traits<ValueVector>::tag:
            write_array(*value.get_if<ValueVector>());
            break;
        case traits<ValueMap>::tag:
            write_object(*value.get_if<ValueMap>());
            break;
        case traits<float>::tag:
            // As a double, which is what a float reads back as: 0.1F is not the number 0.1.
            write_floating(*value.get_if<float>());
            break;
        case traits<long long>::tag:
            write_digits(*value.get_if<long long>());
            break;
        case traits<unsigned long long>::tag:
            write_digits(*value.get_if<unsigned long long>());
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
        const char* const type = type_not_told_by_kxtype(members);
        char separator = '{';
        // In front, so that the reader keeps it; the name that sets the type comes behind the data.
        if (type != nullptr) {
            write_member(separator, "kxtype", members.find("kxtype")->second);
            separator = ',';
        }
        for (const auto& [key, value] : members) {
            if (type != nullptr && key == "kxtype")
                (text_ += ",\"kxtype\":\"").append(type).append("\"");
            else
                write_member(separator, key, value);
            separator = ',';
        }
        text_ += members.empty() ? "{}" : "}";
    }

    void write_member(char separator, std::string_view key, const Value& value) {
        text_ += separator;
        write_string(key);
        text_ += ':';
        write(value);
    }

    void write_floating(double number) {
        if (std::isnan(number))
            text_ += "null";
        else if (std::isinf(number))
            text_ += number < 0 ? "-1e999" : "1e999"; // what is beyond the range reads as infinity
        else
            write_digits(number);
    }

    template <class Number>
    void write_digits(Number number) {
        std::array<char, 32> digits; // the longest are doubles: 24 characters
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        text_.append(digits.data(), end);
    }

    void write_string(std::string_view text) {
        const char* position = text.data();
        const char* const end = position + text.size();
        text_ += '"';
        for (;;) {
            const char* const run_end = detail::find_byte_to_escape(position, end);
            text_.append(position, run_end);
            if (run_end == end)
                break;
            write_escape(*run_end);
            position = run_end + 1;
        }
        text_ += '"';
    }

    void write_escape(char byte) {
        constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
        constexpr std::string_view letters = "\"\\bfnrt";
        constexpr std::string_view hex_digits = "0123456789abcdef";
        text_ += '\\';
        if (const auto index = escaped.find(byte); index != std::string_view::npos) {
            text_ += letters[index];
        } else {
            text_ += "u00";
            text_ += hex_digits[static_cast<unsigned char>(byte) / 16U];
            text_ += hex_digits[static_cast<unsigned char>(byte) % 16U];
        }
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
