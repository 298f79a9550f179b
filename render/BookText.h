#pragma once

#include "base/Handles.h"
#include "render/BookPosition.h"
#include "render/SegmentText.h"

namespace QvFormat {

class CUMDHandler;

// The sizes in which a book's text is read; all but blocksPerSegment and blockCount are bytes of
// UTF-16LE.
struct BookSizes {
    int content;
    int block;
    int segment;
    int blocksPerSegment;
    int blockCount;
};

// Reads the UTF-16LE text of a book across its chunks, and converts runs of its blocks. It owns
// neither the handler nor the table. The chunk inflated last is kept, so make one reader for one
// task and let it go.
class BookText {
public:
    // `chunkOffsets` tells where each chunk's text begins, and where the last one's ends.
    BookText(CUMDHandler* handler, const int* chunkOffsets, const BookSizes& sizes);

    // Reads up to `length` bytes from `offset` on, and returns how many: fewer where the text ends
    // or a chunk cannot be inflated.
    int Read(int offset, int length, unsigned char* bytes);

    // Bytes of the segment that begins at a block of the book.
    int SegmentBytes(int block) const;

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
    BookSizes m_sizes;
    int m_nChunk = -1; // the one that is inflated
    int m_nChunkSize = 0;
    MallocPtr<unsigned char> m_pChunk;
};

} // namespace QvFormat
