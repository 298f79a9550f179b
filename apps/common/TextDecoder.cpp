#include "common/TextDecoder.h"

#include <stdexcept>

#include "base/CUtility.h"

namespace umdhost {

namespace {

// How many of the bytes end with a whole character.
std::size_t WholeBytes(std::string_view text) {
    const std::size_t even = text.size() - text.size() % 2;
    const bool firstHalfOfPair =
        even > 0 && (static_cast<unsigned char>(text[even - 1]) & 0xFCu) == 0xD8u;
    return firstHalfOfPair ? even - 2 : even;
}

std::string ToUtf8(std::string_view text) {
    std::string utf8(text.size() / 2 * 3, '\0'); // a 2-byte unit gives at most 3 bytes
    unsigned long written = 0;
    const QvFormat::QVRESULT result = QvFormat::CUtility::ConvertEncoding(
        QvFormat::CharsetUTF8, QvFormat::CharsetUTF16LE, text.data(),
        static_cast<unsigned int>(text.size()), utf8.data(), static_cast<unsigned int>(utf8.size()),
        &written, 1, 0);
    if (result != QvFormat::QV_S_OK)
        throw std::runtime_error("text cannot be converted to UTF-8 on this system");
    utf8.resize(written);
    return utf8;
}

} // namespace

std::string TextDecoder::Decode(std::string_view bytes) {
    m_sPending += bytes;
    const std::size_t whole = WholeBytes(m_sPending);
    if (whole == 0)
        return {};
    std::string utf8 = ToUtf8({m_sPending.data(), whole});
    m_sPending.erase(0, whole);
    return utf8;
}

} // namespace umdhost
