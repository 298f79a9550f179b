// Character conversion through GNU libiconv's four functions. Where the build found GNU libiconv
// (UMDFORMAT_HAVE_LIBICONV) they are its own; elsewhere a layer over the C library's iconv gives
// the same functions, inside the library only.
#pragma once

#ifdef UMDFORMAT_HAVE_LIBICONV

#include <iconv.h>

#else

#include <cstddef>

namespace QvFormat {

using libiconv_t = void*;

// Requests of libiconvctl; the argument is an int, 1 for on and 0 for off.
constexpr int ICONV_SET_TRANSLITERATE = 2;
constexpr int ICONV_SET_DISCARD_ILSEQ = 4;

// All four report failure as -1 (in the result's type) with the reason in errno.

libiconv_t libiconv_open(const char* to, const char* from);
int libiconvctl(libiconv_t descriptor, int request, void* argument);

// Converts `*inLeft` bytes at `*in` and moves all four along. Returns 0 on success.
// EILSEQ: an invalid sequence, or a character the target lacks, and no leave to discard it.
// EINVAL: the input ends inside a character. E2BIG: no room left. ENOMEM: no memory.
std::size_t libiconv(libiconv_t descriptor, char** in, std::size_t* inLeft, char** out,
                     std::size_t* outLeft);
int libiconv_close(libiconv_t descriptor);

} // namespace QvFormat

#endif
