// The library's layer over the C library's iconv, given out under GNU libiconv's C names.
#include "base/Libiconv.cpp" // NOLINT(bugprone-suspicious-include)

#define STANDIN_API extern "C" __attribute__((visibility("default")))

STANDIN_API void* libiconv_open(const char* to, const char* from) {
    return QvFormat::libiconv_open(to, from);
}

STANDIN_API int libiconvctl(void* descriptor, int request, void* argument) {
    return QvFormat::libiconvctl(descriptor, request, argument);
}

STANDIN_API std::size_t libiconv(void* descriptor, char** in, std::size_t* inLeft, char** out,
                                 std::size_t* outLeft) {
    return QvFormat::libiconv(descriptor, in, inLeft, out, outLeft);
}

STANDIN_API int libiconv_close(void* descriptor) {
    return QvFormat::libiconv_close(descriptor);
}
