#include "common/TextSurvey.h"

namespace umdhost {

TextSurvey::TextSurvey(const Book& book) : m_nDeclaredBytes(book.DeclaredBytes()) {
    for (int index = 0; index < book.ChunkCount(); ++index) {
        const Chunk chunk = book.ReadChunk(index);
        if (chunk.bytes == nullptr)
            m_damagedChunks.push_back(index);
        for (std::size_t i = 0; i < chunk.size; ++i)
            AddByte(chunk.bytes.get()[i]);
    }
}

void TextSurvey::AddByte(unsigned char byte) {
    ++m_nBytes;
    if (m_nBytes % 2 == 1)
        m_nLowByte = byte;
    else
        AddUnit(m_nLowByte | (static_cast<unsigned int>(byte) << 8));
}

void TextSurvey::AddUnit(unsigned int unit) {
    const bool secondHalf = m_bHighSurrogate && (unit & 0xFC00u) == 0xDC00u;
    if (!secondHalf)
        ++m_nCharacters;
    m_bHighSurrogate = (unit & 0xFC00u) == 0xD800u;
    if (m_bHighSurrogate && (m_nBytes % kBlockBytes == 0 || m_nBytes == m_nDeclaredBytes))
        m_nLastCut = m_nBytes - 2;
}

// What the declared length does to the reader: the library goes by it.
std::string TextSurvey::LengthWarning() const {
    const std::string declares = "it declares " + std::to_string(m_nDeclaredBytes) +
                                 " bytes of text but holds " + std::to_string(m_nBytes);
    if (m_nDeclaredBytes <= 0)
        return declares + ": nothing of it can be shown";
    if (m_nDeclaredBytes < m_nBytes)
        return declares + ": what is more is not shown";
    return declares + ": the last screens cannot be shown";
}

std::vector<std::string> TextSurvey::Warnings() const {
    std::vector<std::string> warnings;
    if (m_nDeclaredBytes != m_nBytes)
        warnings.push_back(LengthWarning());
    if (HasCutCharacter())
        warnings.push_back("the character at byte " + std::to_string(m_nLastCut) +
                           " lies across two blocks: the text around it cannot be shown");
    if (EndsInsideUnit())
        warnings.push_back("its text ends inside a character: the last screens cannot be shown");
    return warnings;
}

} // namespace umdhost
