#include "base/CharsetConverter.h"

#include <cstddef>
#include <cstdint>

#include "base/CUtility.h"
#include "base/Libiconv.h"

namespace QvFormat {

namespace {

// Versions of GNU libiconv differ in whether the input they point at is const.
struct LibiconvInput {
    const char** m_pInput;
    operator const char**() const { return m_pInput; }
    operator char**() const { return const_cast<char**>(m_pInput); }
};

} // namespace

void LibiconvCloser::operator()(void* descriptor) const {
    libiconv_close(descriptor);
}

CharsetConverter::CharsetConverter(CharsetEncoding to, CharsetEncoding from, int discard,
                                   int transliterate) {
    void* descriptor =
        libiconv_open(CUtility::GetEncodingString(to), CUtility::GetEncodingString(from));
    if (reinterpret_cast<std::intptr_t>(descriptor) == -1)
        return;
    m_pDescriptor.reset(descriptor);
    int discarding = discard != 0;
    libiconvctl(descriptor, ICONV_SET_DISCARD_ILSEQ, &discarding);
    int transliterating = transliterate != 0;
    libiconvctl(descriptor, ICONV_SET_TRANSLITERATE, &transliterating);
}

QVRESULT CharsetConverter::Convert(const char* in, unsigned int inSize, char* out,
                                   unsigned int outSize, unsigned long* written) const {
    std::size_t inLeft = inSize;
    std::size_t outLeft = outSize;
    if (!m_pDescriptor || libiconv(m_pDescriptor.get(), LibiconvInput{&in}, &inLeft, &out,
                                   &outLeft) == static_cast<std::size_t>(-1))
        return QV_E_FAIL;
    if (written)
        *written = static_cast<unsigned long>(outSize - outLeft);
    return QV_S_OK;
}

} // namespace QvFormat
