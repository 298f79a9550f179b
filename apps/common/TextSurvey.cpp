#include "common/TextSurvey.h"

namespace umdhost {

namespace {

// What the declared length does to the reader: the library goes by it.
const char* ResultOfLength(std::int64_t declared, std::int64_t actual) {
    if (declared <= 0)
        return "nothing of it can be shown";
    return declared < actual ? "what is more is not shown" : "the last screens cannot be shown";
}

} // namespace

TextSurvey::TextSurvey(const Book& book) : m_nDeclaredBytes(book.DeclaredBytes()) {
    for (int index = 0; index < book.ChunkCount(); ++index) {
        const std::optional<std::string> chunk = book.ReadChunk(index);
        if (!chunk) {
            m_damagedChunks.push_back(index);
            continue;
        }
        for (const char byte : *chunk)
            AddByte(static_cast<unsigned char>(byte));
    }
}

// The second byte of a unit alone tells whether that is half of a pair.
void TextSurvey::AddByte(unsigned char byte) {
    if (++m_nBytes % 2 != 0)
        return;
    const bool secondHalf = m_bFirstHalf && (byte & 0xFCu) == 0xDCu;
    if (!secondHalf)
        ++m_nCharacters;
    m_bFirstHalf = (byte & 0xFCu) == 0xD8u;
    if (m_bFirstHalf && (m_nBytes % kBlockBytes == 0 || m_nBytes == m_nDeclaredBytes))
        m_nLastCut = m_nBytes - 2;
}

std::vector<std::string> TextSurvey::Warnings() const {
    std::vector<std::string> warnings;
    if (m_nDeclaredBytes != m_nBytes)
        warnings.push_back("it declares " + std::to_string(m_nDeclaredBytes) +
                           " bytes of text but holds " + std::to_string(m_nBytes) + ": " +
                           ResultOfLength(m_nDeclaredBytes, m_nBytes));
    if (m_nLastCut >= 0 && m_damagedChunks.empty())
        warnings.push_back("the character at byte " + std::to_string(m_nLastCut) +
                           " lies across two blocks: the text around it cannot be shown");
    if (m_nDeclaredBytes > 0 && m_nDeclaredBytes % 2 != 0)
        warnings.push_back("its text ends inside a character: the last screens cannot be shown");
    return warnings;
}

} // namespace umdhost
