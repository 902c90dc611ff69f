/// \file
/// The mark of what a shared library of this project offers to others; all else stays hidden in it.

#pragma once

#if defined(__GNUC__)
/// Stands in front of what others may link to.
#define KX_EXPORT __attribute__((visibility("default")))
#else
#define KX_EXPORT
#endif
