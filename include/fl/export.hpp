/// \file
/// Marks for what a shared library offers to others, and for what it never does.

#pragma once

#if defined(__GNUC__)
/// Marks a class or function that others may link to.
#define KX_EXPORT __attribute__((visibility("default")))
/// Marks an inline function whose static objects stay within the module that it is compiled into.
#define KX_HIDDEN __attribute__((visibility("hidden")))
#else
#define KX_EXPORT
#define KX_HIDDEN
#endif
