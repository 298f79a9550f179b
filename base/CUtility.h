#pragma once

#include "CharsetEncoding.h"
#include "QvExport.h"
#include "QvRecords.h"
#include "QvResult.h"

namespace QvFormat {

// Small functions shared by the library's parts. Any thread may call them: they keep no state and
// own nothing. They take any input, null pointers included; flags and answers are 1 or 0.
class UMDFORMAT_API CUtility {
public:
    CUtility() = delete;

    // The pixels that both rectangles hold; all zeros when there are none.
    static QV_RECT GetIntersectRect(const QV_RECT& first, const QV_RECT& second);
    // 1 when width or height is exactly 0; meant for results of GetIntersectRect. A rectangle
    // whose right lies left of its left is not detected.
    static int IsEmptyRect(QV_RECT rect);

    // The encoding's name, "" for a value that names none. A constant, never null.
    static const char* GetEncodingString(CharsetEncoding encoding);

    // Converts `inSize` bytes of `in` into `out`, which has room for `outSize` bytes, and stores
    // the number of bytes written in `*written` when given; no terminator is added. A value outside
    // 1 to 12 stands for the encoding of the current locale.
    //   discard        nonzero: invalid input, and characters the target lacks, are left out
    //   transliterate  nonzero: characters the target lacks are written in similar ones if possible
    // QV_E_INVALIDARG: null `in` or `out`, or encoding 11 or 12.
    // QV_E_FAIL: no room left, input that ends inside a character, or what the flags do not allow;
    // `*written` stays, `out` may hold a part.
    static QVRESULT ConvertEncoding(CharsetEncoding to, CharsetEncoding from, const char* in,
                                    unsigned int inSize, char* out, unsigned int outSize,
                                    unsigned long* written, int discard, int transliterate);

    // 1 when `string` ends with `suffix`, which may be empty. `ignoreCase` concerns A to Z only.
    static int StringEndWith(const char* string, const char* suffix, int ignoreCase);

    // Replaces each `target` in `string`, in place; returns `string`.
    static char* ReplaceChar(char* string, char replacement, char target);

    // 0 for a path that is null, empty or certainly missing; 1 for all others, also where a
    // missing permission leaves the question open.
    static int CheckFileExistence(const char* path);
};

} // namespace QvFormat
