/// \file
/// The visibility of a shared library's symbols.

#pragma once

#if __cplusplus < 202002L
#error "The headers of this library need C++20 (-std=c++20) or later."
#endif

#if defined(__GNUC__)
/// Marks a class or function that other modules may link to.
#define KX_EXPORT __attribute__((visibility("default")))
/// Marks an inline function whose static objects are local to the module that it is compiled into.
#define KX_HIDDEN __attribute__((visibility("hidden")))
#else
#define KX_EXPORT
#define KX_HIDDEN
#endif
