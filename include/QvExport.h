// What makes a class or function part of the library's binary interface, and what keeps a single
// member of an exported class out of it.
#pragma once

#if defined(__GNUC__)
#define UMDFORMAT_API __attribute__((visibility("default")))
#define UMDFORMAT_HIDDEN __attribute__((visibility("hidden")))
#else
#define UMDFORMAT_API
#define UMDFORMAT_HIDDEN
#endif
