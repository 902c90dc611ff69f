/// \file
/// Pathnames in UTF-16. Nothing here touches a file.

#pragma once

#include "fl/export.hpp"
#include "fl/i18n/ustring.hpp"

/// Paths in UTF-16, directories, and streams on files.
namespace fl::filesystem {

namespace detail {

/// Gives `text` in the platform's native form. On POSIX that is the text itself, so that an install
/// root keeps its length. `native` is true on every path of this system.
[[nodiscard]] KX_EXPORT ustring make_native_form(const ustring& text, bool native);

/// Adds `element`, which is not empty, to `path` as its last element. One separator is put between,
/// unless `path` is empty or ends with one. An element may hold separators, but must not climb:
/// with a component `..` in it std::invalid_argument is raised, which names the element, and `path`
/// stays as it was. `native` is the flag of the path.
KX_EXPORT void concatenate_pathname(ustring& path, const ustring& element, bool native);

/// Gives all of `path` before its last separator. The parent of the root and of what lies directly
/// below it is the root; a path without a separator has an empty parent.
[[nodiscard]] KX_EXPORT ustring extract_parent_path(const ustring& path);

/// The type that a path keeps its text in. It is the same whatever the characters are.
template <class NarrowChar, class WideChar>
struct path_traits {
    using text_type = ustring; ///< UTF-16
};

} // namespace detail

/// A pathname: its text, and a flag that tells the path services to keep to the native form.
/// `Traits` gives the type of the text, `WideChar` the character of a null-terminated element; the
/// narrow character only tells types of paths apart.
template <class NarrowChar, class WideChar, class Traits>
class basic_path {
public:
    using text_type = typename Traits::text_type; ///< what text() gives and elements are made of

    /// An empty path, as an empty text gives it.
    basic_path() = default;

    /// A path of the native form of `text`; an empty text gives an empty path.
    explicit basic_path(const text_type& text) {
        if (!text.empty())
            text_ = detail::make_native_form(text, native_);
    }

    /// Adds `element` as the last element, with a separator between. An empty one adds nothing.
    /// Raises std::invalid_argument, and changes nothing, where `element` has a component `..`.
    basic_path& append_element(const text_type& element) {
        if (!element.empty())
            detail::concatenate_pathname(text_, element, native_);
        return *this;
    }

    /// The same with a null-terminated text; a null pointer adds nothing.
    basic_path& append_element(const WideChar* element) {
        return element == nullptr ? *this : append_element(text_type(element));
    }

    /// The pathname. The reference holds as long as the path lives and is not changed.
    [[nodiscard]] const text_type& text() const noexcept { return text_; }

private:
    text_type text_;
    bool native_ = true;
};

/// The one kind of path that the installer has.
using path = basic_path<char, char16_t, detail::path_traits<char, char16_t>>;

} // namespace fl::filesystem
