/// \file
/// The standard file streams, opened by a path in UTF-16.
///
/// They report failures by their state, as the standard streams do: if the file cannot be opened,
/// failbit is set and is_open() returns false. The constructors throw std::bad_alloc. For a path
/// that no file can have, they throw what
/// fl::filesystem::detail::make_native_access_form_with_cleanup_i18n throws, and open nothing.

#pragma once

#include "fl/filesystem/native_access.hpp"
#include "fl/i18n/ustring.hpp"

#include <boost/noncopyable.hpp>

#include <fstream>
#include <ios>
#include <string>

/// \namespace kxboost
/// The installer's name for Boost.
namespace kxboost = boost;

namespace fl::filesystem {

/// A file open for reading, with fopen's mode "r". The destructor closes it.
template <class CharT, class Traits = std::char_traits<CharT>>
class basic_ifstream : private kxboost::noncopyable_::noncopyable,
                       public std::basic_ifstream<CharT, Traits> {
public:
    /// Opens the file at `pathname`; is_open() returns whether that succeeded.
    explicit basic_ifstream(const ustring& pathname)
        : basic_ifstream(detail::make_native_access_form_with_cleanup_i18n(pathname)) {}

    /// The same with a buffer of the caller: `size` characters, which must outlive the stream. The
    /// larger the buffer, the fewer system calls read the file.
    basic_ifstream(const ustring& pathname, CharT* buffer, std::streamsize size)
        : basic_ifstream(detail::make_native_access_form_with_cleanup_i18n(pathname), buffer,
                         size) {}

private:
    basic_ifstream(const std::string& native_path, CharT* buffer, std::streamsize size) {
        this->rdbuf()->pubsetbuf(buffer, size); // has no effect once the file is open
        this->open(native_path, std::ios_base::in);
    }

    explicit basic_ifstream(const std::string& native_path)
        : std::basic_ifstream<CharT, Traits>(native_path, std::ios_base::in) {}
};

/// A file open for writing. The destructor closes it and ignores a failure to do so; close()
/// reports such a failure by failbit.
template <class CharT, class Traits = std::char_traits<CharT>>
class basic_ofstream : private kxboost::noncopyable_::noncopyable,
                       public std::basic_ofstream<CharT, Traits> {
public:
    /// Opens the file at `pathname` with `mode` and std::ios_base::out; is_open() returns whether
    /// that succeeded. If `mode` has neither std::ios_base::app nor std::ios_base::in, a missing
    /// file is created and an existing one is truncated to zero length.
    basic_ofstream(const ustring& pathname, std::ios_base::openmode mode)
        : basic_ofstream(detail::make_native_access_form_with_cleanup_i18n(pathname), mode) {}

    /// The same with a buffer of the caller: `size` characters, which must outlive the stream. The
    /// stream then allocates no memory between truncating the file and writing to it, so that
    /// running out of memory cannot leave the file empty.
    basic_ofstream(const ustring& pathname, std::ios_base::openmode mode, CharT* buffer,
                   std::streamsize size)
        : basic_ofstream(detail::make_native_access_form_with_cleanup_i18n(pathname), mode, buffer,
                         size) {}

private:
    basic_ofstream(const std::string& native_path, std::ios_base::openmode mode)
        : std::basic_ofstream<CharT, Traits>(native_path, mode | std::ios_base::out) {}

    basic_ofstream(const std::string& native_path, std::ios_base::openmode mode, CharT* buffer,
                   std::streamsize size) {
        this->rdbuf()->pubsetbuf(buffer, size); // has no effect once the file is open
        this->open(native_path, mode | std::ios_base::out);
    }
};

} // namespace fl::filesystem
