/* The declarations of GNU libiconv that the library uses, so that a machine without GNU libiconv
   can prove that the build with it compiles, links and passes the tests. */
#pragma once

#include <stddef.h>

#define iconv_t libiconv_t
typedef void* iconv_t;

#define iconv_open libiconv_open
#define iconv libiconv
#define iconv_close libiconv_close
#define iconvctl libiconvctl

#define ICONV_SET_TRANSLITERATE 2
#define ICONV_SET_DISCARD_ILSEQ 4

/* Older versions take the input as const. */
#ifdef STANDIN_CONST_INPUT
#define STANDIN_INPUT const char*
#else
#define STANDIN_INPUT char*
#endif

#ifdef __cplusplus
extern "C" {
#endif

extern iconv_t iconv_open(const char* tocode, const char* fromcode);
extern size_t iconv(iconv_t cd, STANDIN_INPUT* inbuf, size_t* inbytesleft, char** outbuf,
                    size_t* outbytesleft);
extern int iconv_close(iconv_t cd);
extern int iconvctl(iconv_t cd, int request, void* argument);

#ifdef __cplusplus
}
#endif
