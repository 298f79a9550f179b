#include "render/BookText.h"

#include <algorithm>
#include <cstring>

#include "umd/CUMDHandler.h"

namespace QvFormat {

BookText::BookText(CUMDHandler* handler, const int* chunkOffsets)
    : m_pHandler(handler), m_pChunkOffsets(chunkOffsets), m_nChunkCount(handler->GetChunkCount()) {}

int BookText::Length() const {
    return m_pChunkOffsets[m_nChunkCount];
}

int BookText::Read(int offset, int length, unsigned char* bytes) {
    const int* ends = m_pChunkOffsets + 1;
    int done = 0;
    while (done < length) {
        const int at = offset + done;
        const int chunk = static_cast<int>(std::upper_bound(ends, ends + m_nChunkCount, at) - ends);
        if (chunk == m_nChunkCount || !Inflate(chunk))
            break;
        const int skip = at - m_pChunkOffsets[chunk];
        if (skip >= m_nSize)
            break;
        const int count = std::min(length - done, m_nSize - skip);
        std::memcpy(bytes + done, m_pBytes.get() + skip, static_cast<std::size_t>(count));
        done += count;
    }
    return done;
}

bool BookText::Inflate(int chunk) {
    if (chunk != m_nChunk) {
        m_pBytes.reset(); // before the next one takes its memory
        m_pBytes.reset(m_pHandler->GetChunkContent(chunk, &m_nSize));
        m_nChunk = chunk;
    }
    return m_pBytes != nullptr;
}

} // namespace QvFormat
