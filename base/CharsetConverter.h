#pragma once

#include <memory>

#include "CharsetEncoding.h"
#include "QvResult.h"

namespace QvFormat {

struct LibiconvCloser {
    void operator()(void* descriptor) const;
};

// A conversion between two encodings; CUtility::ConvertEncoding says what its arguments mean. One
// that takes several texts must be between encodings without shift states.
class CharsetConverter {
public:
    CharsetConverter(CharsetEncoding to, CharsetEncoding from, int discard, int transliterate);

    // The same as CUtility::ConvertEncoding, but for null arguments, which it does not take.
    QVRESULT Convert(const char* in, unsigned int inSize, char* out, unsigned int outSize,
                     unsigned long* written) const;

private:
    std::unique_ptr<void, LibiconvCloser> m_pDescriptor; // null: there is no such conversion
};

} // namespace QvFormat
