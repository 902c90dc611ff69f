/// \file
/// Pathnames in UTF-16. No operation here accesses the file system.

#pragma once

#include "fl/export.hpp"
#include "fl/i18n/ustring.hpp"

/// Paths in UTF-16, directories, and streams on files.
namespace fl::filesystem {

namespace detail {

/// Returns `text` in the platform's native form. On POSIX that is `text` itself, so that an install
/// root keeps its length. `native` is true for every path of the installer.
[[nodiscard]] KX_EXPORT ustring make_native_form(const ustring& text, bool native);

/// Appends `element`, which must not be empty, to `path` as its last element. A separator is put
/// between them unless `path` is empty or ends with one. `element` may contain separators. `native`
/// is the flag of the path.
///
/// Throws std::invalid_argument if a component of `element` is `..`: the result could lie outside
/// of the directory `path`. what() names the element; if that is ill-formed, it names the offset of
/// the fault. Throws std::bad_alloc and std::length_error. After an exception, `path` is unchanged.
KX_EXPORT void concatenate_pathname(ustring& path, const ustring& element, bool native);

/// Returns the part of `path` before its last separator. The parent of the root, and of a file
/// directly below it, is the root; a path without a separator has an empty parent.
[[nodiscard]] KX_EXPORT ustring extract_parent_path(const ustring& path);

/// The type of a path's text. It is the same for all character types.
template <class NarrowChar, class WideChar>
struct path_traits {
    using text_type = ustring; ///< UTF-16
};

} // namespace detail

/// A pathname: its text, and a flag that selects the native form. `Traits` defines the type of the
/// text, and `WideChar` is the character type of null-terminated elements. `NarrowChar` only
/// distinguishes types of paths.
template <class NarrowChar, class WideChar, class Traits>
class basic_path {
public:
    using text_type = typename Traits::text_type; ///< the type of text() and of elements

    /// An empty path.
    basic_path() = default;

    /// The path whose text is the native form of `text`. An empty text makes an empty path.
    explicit basic_path(const text_type& text) {
        if (!text.empty())
            text_ = detail::make_native_form(text, native_);
    }

    /// Appends `element` as the last element, with a separator between. An empty one adds nothing.
    /// Throws std::invalid_argument if a component of `element` is `..`, and std::bad_alloc; the
    /// path is then unchanged.
    basic_path& append_element(const text_type& element) {
        if (!element.empty())
            detail::concatenate_pathname(text_, element, native_);
        return *this;
    }

    /// The same with a null-terminated string; a null pointer adds nothing.
    basic_path& append_element(const WideChar* element) {
        return element == nullptr ? *this : append_element(text_type(element));
    }

    /// Returns the text. The reference is valid until the path is modified or destroyed.
    [[nodiscard]] const text_type& text() const noexcept { return text_; }

private:
    text_type text_;
    bool native_ = true;
};

/// The installer's type of paths.
using path = basic_path<char, char16_t, detail::path_traits<char, char16_t>>;

} // namespace fl::filesystem
