// The one macro that makes a class or function part of the library's binary interface.
#pragma once

#if defined(__GNUC__)
#define UMDFORMAT_API __attribute__((visibility("default")))
#else
#define UMDFORMAT_API
#endif
