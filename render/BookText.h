#pragma once

#include "base/Handles.h"
#include "render/BookPosition.h"
#include "render/SegmentText.h"

namespace QvFormat {

class CUMDHandler;

// Reads the UTF-16LE text of a book across its chunks, and converts runs of its blocks. It owns
// neither the handler nor the table. The chunk inflated last is kept, so make one reader for one
// task and let it go.
class BookText {
public:
    // `chunkOffsets` tells where each chunk's text begins, and where the last one's ends. The book
    // says that it holds `length` bytes.
    BookText(CUMDHandler* handler, const int* chunkOffsets, int length, int blocksPerSegment);

    // Reads up to `length` bytes from `offset` on, and returns how many: fewer where the text ends
    // or a chunk cannot be inflated.
    int Read(int offset, int length, unsigned char* bytes);

    // At most `count` blocks, from the place's on, up to the first one that cannot be read or
    // converted; `start` is the place. No blocks: there are none, or no memory.
    SegmentText ReadBlocks(const BookPosition& place, int count);

    // The same for the whole segment; no blocks when one of them cannot be read or converted.
    SegmentText ReadSegment(const BookPosition& place);

    // The blocks that end with `last`, a segment at most, from the first one on after which all can
    // be read.
    SegmentText ReadBlocksUpTo(int last);

    // The nearest block with text, from `block` on in steps of 1 or -1; -1 when there is none. Adds
    // the bytes of those passed over that cannot be read.
    int FindReadableBlock(int block, int step, int* passedOver);

private:
    bool Inflate(int chunk);

    CUMDHandler* m_pHandler;
    const int* m_pChunkOffsets;
    int m_nChunkCount;
    int m_nLength;
    int m_nBlocksPerSegment;
    int m_nChunk = -1; // the one that is inflated
    int m_nChunkSize = 0;
    MallocPtr<unsigned char> m_pChunk;
};

} // namespace QvFormat
