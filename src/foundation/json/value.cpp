#include "foundation/json/value.hpp"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace foundation::json {

namespace {

// Calls `operation` with std::type_identity<T>, where T is the alternative of the tag.
template <class Operation>
decltype(auto) with_alternative(int tag, const Operation& operation) {
    switch (tag) {
    case traits<Null>::tag:
        return operation(std::type_identity<Null>());
    case traits<bool>::tag:
        return operation(std::type_identity<bool>());
    case traits<double>::tag:
        return operation(std::type_identity<double>());
    case traits<std::string>::tag:
        return operation(std::type_identity<std::string>());
    case traits<ValueVector>::tag:
        return operation(std::type_identity<ValueVector>());
    case traits<ValueMap>::tag:
        return operation(std::type_identity<ValueMap>());
    case traits<float>::tag:
        return operation(std::type_identity<float>());
    case traits<long long>::tag:
        return operation(std::type_identity<long long>());
    case traits<unsigned long long>::tag:
        return operation(std::type_identity<unsigned long long>());
    default:
        return operation(std::type_identity<Undefined>());
    }
}

} // namespace

Value::Value(const Value& source) {
    copy_content(source);
}

Value& Value::operator=(const Value& source) {
    // If one is a part of the other, assigning would read what it has just overwritten.
    if (source.is_container() && (contains(source) || source.contains(*this)))
        return *this = Value(source);
    assign(source);
    return *this;
}

// For a Value with destructible content.
void Value::move_assign(Value& source) noexcept {
    if (tag_ != source.tag_) {
        // Keeps a source alive that is a part of this value.
        Value taken(std::move(source));
        destroy_content();
        take_content(taken);
    } else if (tag_ == traits<std::string>::tag) {
        std::string taken(std::move(source.content_.string));
        content_.string.swap(taken);
    } else if (tag_ == traits<ValueVector>::tag) {
        std::swap(content_.vector, source.content_.vector);
    } else {
        std::swap(content_.map, source.content_.map);
    }
}

void Value::destroy_held_content() noexcept {
    if (tag_ == traits<ValueVector>::tag)
        delete content_.vector;
    else
        delete content_.map;
}

// For a Value without content. The tag is set last, so that a failure leaves nothing to destroy.
void Value::copy_content(const Value& source) {
    with_alternative(source.tag_,
                     [&]<class T>(std::type_identity<T>) { emplace<T>(T(*source.get_if<T>())); });
}

void Value::assign(const Value& source) {
    if (tag_ == source.tag_)
        assign_same_alternative(source);
    else
        assign_other_alternative(source);
}

void Value::assign_same_alternative(const Value& source) {
    with_alternative(tag_, [&]<class T>(std::type_identity<T>) {
        if constexpr (std::is_same_v<T, ValueVector>) {
            if (this == &source)
                return;
            auto& to = get<ValueVector>();
            const ValueVector& from = *source.get_if<ValueVector>();
            // The vector's own assignment would copy all elements anew where it has to grow.
            const auto common = static_cast<std::ptrdiff_t>(std::min(to.size(), from.size()));
            for (std::ptrdiff_t index = 0; index < common; ++index)
                to[static_cast<std::size_t>(index)].assign(from[static_cast<std::size_t>(index)]);
            to.erase(to.begin() + common, to.end());
            to.insert(to.end(), from.begin() + common, from.end());
        } else if constexpr (std::is_same_v<T, ValueMap>) {
            if (this != &source)
                get<ValueMap>() = *source.get_if<ValueMap>();
        } else {
            slot<T>(content_) = slot<T>(source.content_);
        }
    });
}

void Value::assign_other_alternative(const Value& source) {
    with_alternative(source.tag_, [&]<class T>(std::type_identity<T>) {
        if constexpr (is_held<T>) {
            destroy_content();
            tag_ = traits<bool>::tag; // left so if the copy fails
            content_.boolean = false;
            slot<T>(content_) = new T(*source.get_if<T>());
            tag_ = traits<T>::tag;
        } else {
            T copy(slot<T>(source.content_));
            destroy_content();
            emplace<T>(std::move(copy));
        }
    });
}

bool Value::is_container() const noexcept {
    return tag_ == traits<ValueVector>::tag || tag_ == traits<ValueMap>::tag;
}

bool Value::contains(const Value& part) const noexcept {
    const auto is_or_contains_part = [&part](const Value& value) {
        return &value == &part || value.contains(part);
    };
    if (const auto* vector = get_if<ValueVector>())
        return std::any_of(vector->begin(), vector->end(), is_or_contains_part);
    if (const auto* map = get_if<ValueMap>())
        return std::any_of(map->begin(), map->end(),
                           [&](const auto& member) { return is_or_contains_part(member.second); });
    return false;
}

void Value::raise_invalid_conversion(const char* to) const {
    const char* const from =
        with_alternative(tag_, []<class T>(std::type_identity<T>) { return traits<T>::name; });
    throw std::runtime_error(std::string("invalid conversion: ") + from + " to " + to);
}

} // namespace foundation::json
