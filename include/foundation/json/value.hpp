/// \file
/// A JSON value in memory.

#pragma once

#include "fl/export.hpp"
#include "foundation/json/traits.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace foundation::json {

/// A JSON value.
///
/// It holds one of ten alternatives (foundation/json/traits.hpp), and its tag says which. It has
/// value semantics: every node of a tree has one owner, and a copy is deep. Nothing is converted: a
/// getter returns the alternative that is held, or fails. Const operations may run concurrently.
///
/// Copying, assigning and destroying a tree recurse over its depth. The reader limits the depth of
/// what it reads (detail::max_nesting_depth). A tree that a program builds deeper than that may
/// exhaust the stack.
class Value {
public:
    /// Holds Undefined.
    Value() noexcept = default;

    /// Holds `content`. T must be exactly one of the alternatives, so that an int or a character
    /// array is not converted silently. Throws std::bad_alloc if T is a vector or a map.
    template <Alternative T>
    explicit Value(T content) {
        emplace<T>(std::move(content));
    }

    /// A deep copy of `source`. Throws std::bad_alloc.
    KX_EXPORT Value(const Value& source);

    /// Moves the content of `source` without allocating memory. `source` keeps its tag; its string,
    /// vector or map is then empty.
    Value(Value&& source) noexcept { take_content(source); }

    /// Makes this a deep copy of `source`; one may be a part of the other. If both have the same
    /// tag, the content is assigned in-place, and arrays element by element.
    ///
    /// Throws std::bad_alloc. If `source` holds a string, or one is a part of the other, this is
    /// then unchanged. Otherwise, if both held a vector, or both a map, this still holds one, with
    /// unspecified content; if not, this holds a bool of unspecified value.
    KX_EXPORT Value& operator=(const Value& source);

    /// Moves the content of `source` without allocating memory. Two vectors or two maps are
    /// swapped; otherwise `source` keeps its tag, and its string, vector or map is then empty.
    /// Neither may be a part of the other: to assign a part, move it into a separate Value first.
    Value& operator=(Value&& source) noexcept;

    /// Destroys the whole tree, recursing over its depth.
    ~Value() { destroy_content(); }

    /// Returns the traits<T>::tag, 0 to 9, of the alternative that is held.
    [[nodiscard]] int tag() const noexcept { return tag_; }

    /// Returns a pointer to the content if it is a T, and null otherwise. The pointer is valid
    /// until the Value is assigned to, moved from or destroyed.
    template <Alternative T>
    [[nodiscard]] const T* get_if() const noexcept;

    /// Returns a reference to the content if it is a T, valid as long as the pointer that get_if
    /// returns. Otherwise throws std::runtime_error with the text "invalid conversion: FROM to TO",
    /// where both names are those of traits<>::name.
    template <Alternative T>
    [[nodiscard]] const T& get() const;

    /// The same, for changing the content in-place. May also throw std::bad_alloc if the vector or
    /// map was moved from, because it then allocates an empty one.
    template <Alternative T>
    [[nodiscard]] T& get();

private:
    // A holder is a heap-allocated container, because a Value cannot contain a container of Values
    // directly. It is null only in a Value that was moved from, where null means an empty
    // container. A move therefore allocates nothing and cannot fail, and vectors of Values grow
    // without copying a tree.
    template <class T>
    static constexpr bool is_held = std::is_same_v<T, ValueVector> || std::is_same_v<T, ValueMap>;

    union Content {
        Content() noexcept : undefined() {}
        Content(const Content&) = delete;
        Content& operator=(const Content&) = delete;
        ~Content() {} // the Value destroys the member that is in use

        Undefined undefined;
        Null null;
        bool boolean;
        double number;
        std::string string;
        ValueVector* vector;
        ValueMap* map;
        float single;
        long long signed_integer;
        unsigned long long unsigned_integer;
    };

    // Returns the member of `content` for T; for a vector or a map, the pointer to its holder.
    template <class T, class AnyContent>
    static auto& slot(AnyContent& content) noexcept;

    // Returns the empty container that a Value shows after it was moved from. It is never
    // destroyed, so that a module which only reads Values does not need the code that destroys
    // them. Hidden, because g++ would otherwise make it unique in the process, which keeps a
    // plug-in that reads Values from being unloaded.
    template <class T>
    KX_HIDDEN static const T& empty_container() noexcept;

    // Makes T the alternative. The Value must have no content to destroy.
    template <class T>
    void emplace(std::type_identity_t<T>&& content);

    // Returns whether the content must be destroyed.
    [[nodiscard]] bool has_destructible_content() const noexcept {
        return tag_ >= traits<std::string>::tag && tag_ <= traits<ValueMap>::tag;
    }

    // Destroys the content. The caller must set the tag afterwards.
    void destroy_content() noexcept;
    KX_EXPORT void destroy_held_content() noexcept;

    // Moves the content of `source`. The Value must have no content to destroy. Inline, because
    // trees are built by moves.
    void take_content(Value& source) noexcept;
    void take_scalar(const Value& source) noexcept;
    KX_EXPORT void move_assign(Value& source) noexcept;

    void copy_content(const Value& source);
    void assign(const Value& source);
    void assign_same_alternative(const Value& source);
    void assign_other_alternative(const Value& source);
    [[nodiscard]] bool is_container() const noexcept;
    [[nodiscard]] bool contains(const Value& part) const noexcept;

    [[noreturn]] KX_EXPORT void raise_invalid_conversion(const char* to) const;

    std::int32_t tag_ = traits<Undefined>::tag;
    Content content_;
};

template <class T, class AnyContent>
auto& Value::slot(AnyContent& content) noexcept {
    if constexpr (std::is_same_v<T, Undefined>)
        return content.undefined;
    else if constexpr (std::is_same_v<T, Null>)
        return content.null;
    else if constexpr (std::is_same_v<T, bool>)
        return content.boolean;
    else if constexpr (std::is_same_v<T, double>)
        return content.number;
    else if constexpr (std::is_same_v<T, std::string>)
        return content.string;
    else if constexpr (std::is_same_v<T, ValueVector>)
        return content.vector;
    else if constexpr (std::is_same_v<T, ValueMap>)
        return content.map;
    else if constexpr (std::is_same_v<T, float>)
        return content.single;
    else if constexpr (std::is_same_v<T, long long>)
        return content.signed_integer;
    else
        return content.unsigned_integer;
}

template <class T>
void Value::emplace(std::type_identity_t<T>&& content) {
    if constexpr (is_held<T>)
        slot<T>(content_) = new T(std::move(content));
    else
        std::construct_at(&slot<T>(content_), std::move(content));
    tag_ = traits<T>::tag;
}

template <class T>
const T& Value::empty_container() noexcept {
    static const union Undestroyed {
        Undestroyed() noexcept : container() {}
        Undestroyed(const Undestroyed&) = delete;
        Undestroyed& operator=(const Undestroyed&) = delete;
        ~Undestroyed() {}
        T container;
    } undestroyed;
    return undestroyed.container;
}

template <Alternative T>
const T* Value::get_if() const noexcept {
    if (tag_ != traits<T>::tag)
        return nullptr;
    if constexpr (is_held<T>) {
        if (const T* const holder = slot<T>(content_))
            return holder;
        return &empty_container<T>();
    } else {
        return &slot<T>(content_);
    }
}

template <Alternative T>
const T& Value::get() const {
    const T* const content = get_if<T>();
    if (content == nullptr)
        raise_invalid_conversion(traits<T>::name);
    return *content;
}

template <Alternative T>
T& Value::get() {
    if (tag_ != traits<T>::tag)
        raise_invalid_conversion(traits<T>::name);
    if constexpr (is_held<T>) {
        T*& holder = slot<T>(content_);
        if (holder == nullptr)
            holder = new T;
        return *holder;
    } else {
        return slot<T>(content_);
    }
}

inline void Value::destroy_content() noexcept {
    if (!has_destructible_content())
        return;
    if (tag_ == traits<std::string>::tag)
        std::destroy_at(&content_.string);
    else
        destroy_held_content();
}

inline void Value::take_content(Value& source) noexcept {
    tag_ = source.tag_;
    switch (tag_) {
    case traits<std::string>::tag:
        std::construct_at(&content_.string, std::move(source.content_.string));
        source.content_.string.clear();
        break;
    case traits<ValueVector>::tag:
        content_.vector = std::exchange(source.content_.vector, nullptr);
        break;
    case traits<ValueMap>::tag:
        content_.map = std::exchange(source.content_.map, nullptr);
        break;
    default:
        take_scalar(source);
    }
}

inline void Value::take_scalar(const Value& source) noexcept {
    switch (tag_) {
    case traits<bool>::tag:
        content_.boolean = source.content_.boolean;
        break;
    case traits<double>::tag:
        content_.number = source.content_.number;
        break;
    case traits<float>::tag:
        content_.single = source.content_.single;
        break;
    case traits<long long>::tag:
        content_.signed_integer = source.content_.signed_integer;
        break;
    case traits<unsigned long long>::tag:
        content_.unsigned_integer = source.content_.unsigned_integer;
        break;
    default:
        break;
    }
}

inline Value& Value::operator=(Value&& source) noexcept {
    if (has_destructible_content())
        move_assign(source);
    else
        take_content(source);
    return *this;
}

} // namespace foundation::json
