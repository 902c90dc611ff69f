/// \file
/// The standard file streams, opened on a path in UTF-16.
///
/// They report as the standard streams do: by their state. A file that cannot be opened leaves
/// failbit set and no file attached. Only a path without a native name raises, before anything is
/// opened: see fl::filesystem::detail::make_native_access_form_with_cleanup_i18n.

#pragma once

#include "fl/filesystem/native_access.hpp"
#include "fl/i18n/ustring.hpp"

#include <boost/noncopyable.hpp>

#include <fstream>
#include <ios>
#include <string>

/// \namespace kxboost
/// The name by which the installer knows Boost.
namespace kxboost = boost;

namespace fl::filesystem {

/// A file open for reading, with fopen's mode "r". The destructor closes it.
template <class CharT, class Traits = std::char_traits<CharT>>
class basic_ifstream : private kxboost::noncopyable_::noncopyable,
                       public std::basic_ifstream<CharT, Traits> {
public:
    /// Opens the file at `pathname`; is_open() tells whether that went well.
    explicit basic_ifstream(const ustring& pathname)
        : basic_ifstream(detail::make_native_access_form_with_cleanup_i18n(pathname)) {}

    /// The same with a buffer of the caller's, `size` characters that must outlive the stream:
    /// reading takes one system call a buffer.
    basic_ifstream(const ustring& pathname, CharT* buffer, std::streamsize size)
        : basic_ifstream(detail::make_native_access_form_with_cleanup_i18n(pathname), buffer,
                         size) {}

private:
    basic_ifstream(const std::string& native_path, CharT* buffer, std::streamsize size) {
        this->rdbuf()->pubsetbuf(buffer, size); // counts only before the file is opened
        this->open(native_path, std::ios_base::in);
    }

    explicit basic_ifstream(const std::string& native_path)
        : std::basic_ifstream<CharT, Traits>(native_path, std::ios_base::in) {}
};

/// A file open for writing, with `mode` and std::ios_base::out. The destructor closes it and drops
/// any failure of doing so; close() tells.
template <class CharT, class Traits = std::char_traits<CharT>>
class basic_ofstream : private kxboost::noncopyable_::noncopyable,
                       public std::basic_ofstream<CharT, Traits> {
public:
    /// Opens the file at `pathname`; is_open() tells whether that went well. Where `mode` neither
    /// appends nor reads, the file is created or cut to nothing.
    basic_ofstream(const ustring& pathname, std::ios_base::openmode mode)
        : basic_ofstream(detail::make_native_access_form_with_cleanup_i18n(pathname), mode) {}

    /// The same with a buffer of the caller's, `size` characters that must outlive the stream. The
    /// stream takes no memory between cutting the file and writing to it, so that an exhausted
    /// memory cannot leave it empty.
    basic_ofstream(const ustring& pathname, std::ios_base::openmode mode, CharT* buffer,
                   std::streamsize size)
        : basic_ofstream(detail::make_native_access_form_with_cleanup_i18n(pathname), mode, buffer,
                         size) {}

private:
    basic_ofstream(const std::string& native_path, std::ios_base::openmode mode)
        : std::basic_ofstream<CharT, Traits>(native_path, mode | std::ios_base::out) {}

    basic_ofstream(const std::string& native_path, std::ios_base::openmode mode, CharT* buffer,
                   std::streamsize size) {
        this->rdbuf()->pubsetbuf(buffer, size); // counts only before the file is opened
        this->open(native_path, mode | std::ios_base::out);
    }
};

} // namespace fl::filesystem
