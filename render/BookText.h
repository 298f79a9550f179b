#pragma once

#include "base/Handles.h"

namespace QvFormat {

class CUMDHandler;

// Reads the UTF-16LE text of a book across its chunks. It owns neither the handler nor the table.
// The chunk inflated last is kept, so make one reader for one task and let it go.
class BookText {
public:
    // `chunkOffsets` tells where each chunk's text begins, and where the last one's ends.
    BookText(CUMDHandler* handler, const int* chunkOffsets);

    // Bytes of text that the chunks hold.
    int Length() const;

    // Reads up to `length` bytes from `offset` on, and returns how many: fewer where the text ends
    // or a chunk cannot be inflated.
    int Read(int offset, int length, unsigned char* bytes);

private:
    bool Inflate(int chunk);

    CUMDHandler* m_pHandler;
    const int* m_pChunkOffsets;
    int m_nChunkCount;
    int m_nChunk = -1; // the one that is inflated
    int m_nSize = 0;   // bytes
    MallocPtr<unsigned char> m_pBytes;
};

} // namespace QvFormat
