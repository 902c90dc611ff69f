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
/// It holds one of ten alternatives (foundation/json/traits.hpp) and says by its tag which. It has
/// value semantics: every node of a tree has one owner, and a copy is deep. Nothing converts: a
/// getter gives the alternative that is held, or raises. Const operations may run at the same time.
///
/// Copying, assigning and destroying a tree recurse over its depth. The reader bounds the depth of
/// what it reads (detail::max_nesting_depth); who builds deeper trees by hand answers for the
/// stack.
class Value {
public:
    /// Holds Undefined.
    Value() noexcept = default;

    /// Holds `content`. The type must be an alternative to the letter: neither an int nor a
    /// character array quietly becomes something else. Raises std::bad_alloc for a vector or a map.
    template <Alternative T>
    explicit Value(T content) {
        emplace<T>(std::move(content));
    }

    /// A deep copy. Raises std::bad_alloc.
    KX_EXPORT Value(const Value& source);

    /// Takes over the content of `source` without taking memory. `source` keeps its tag; its
    /// string, vector or map is empty.
    Value(Value&& source) noexcept { take_content(source); }

    /// Makes this a deep copy of `source`; one may be a part of the other. With equal tags the
    /// content is assigned in place: elements on both sides one by one.
    ///
    /// Raises std::bad_alloc. A string that failed to be copied over another alternative leaves
    /// this as it was. A vector or a map that failed to be copied over another alternative leaves a
    /// bool of no particular value, the old content being gone; over its like, it leaves one of no
    /// particular content.
    KX_EXPORT Value& operator=(const Value& source);

    /// Takes over the content of `source` without taking memory. With equal tags two vectors or two
    /// maps are exchanged; otherwise `source` keeps its tag and is left empty. Neither may be a
    /// part of the other: move `source` into a Value of its own first.
    Value& operator=(Value&& source) noexcept;

    /// Destroys the tree below, recursing over its depth.
    ~Value() { destroy_content(); }

    /// Which alternative is held: its traits<T>::tag, 0 to 9.
    [[nodiscard]] int tag() const noexcept { return tag_; }

    /// Points to the content, if it is a T, and is null otherwise. The pointer holds until the
    /// value is assigned or destroyed.
    template <Alternative T>
    [[nodiscard]] const T* get_if() const noexcept;

    /// Refers to the content, if it is a T. Otherwise raises std::runtime_error with the text
    /// "invalid conversion: FROM to TO", both names those of traits<>::name.
    template <Alternative T>
    [[nodiscard]] const T& get() const;

    /// The same, for changing the content in place. On a vector or map that was moved from it may
    /// have to take memory and raise std::bad_alloc.
    template <Alternative T>
    [[nodiscard]] T& get();

private:
    // A holder is a heap-allocated container; it lets a Value contain Values. It is null only in a
    // Value that was moved from, where it stands for an empty container: so a move takes no memory,
    // cannot fail, and lets vectors of Values grow without copying a tree.
    template <class T>
    static constexpr bool is_held = std::is_same_v<T, ValueVector> || std::is_same_v<T, ValueMap>;

    union Content {
        Content() noexcept : undefined() {}
        Content(const Content&) = delete;
        Content& operator=(const Content&) = delete;
        ~Content() {} // the Value knows what there is to destroy

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

    // The member of `content` that belongs to T; for a vector or a map, the pointer to its holder.
    template <class T, class AnyContent>
    static auto& slot(AnyContent& content) noexcept;

    // What a Value that was moved from shows: an empty container that is never destroyed, so that
    // looking at a Value takes none of the code that destroys one. Hidden, because g++ would make
    // it unique in the process otherwise, and keep a plug-in that reads a Value from unloading.
    template <class T>
    KX_HIDDEN static const T& empty_container() noexcept;

    // Makes T the alternative of a Value that has no content.
    template <class T>
    void emplace(std::type_identity_t<T>&& content);

    // Whether there is anything to destroy.
    [[nodiscard]] bool has_destructible_content() const noexcept {
        return tag_ >= traits<std::string>::tag && tag_ <= traits<ValueMap>::tag;
    }

    // After this the Value has no content, and its tag is for the caller to set.
    void destroy_content() noexcept;
    KX_EXPORT void destroy_held_content() noexcept;

    // For a Value without destructible content. Inline, as are the operations that end here: trees
    // are built out of moves.
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
