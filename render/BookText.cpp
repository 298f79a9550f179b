#include "render/BookText.h"

#include <algorithm>
#include <cstring>

#include "base/LittleEndian.h"
#include "layout/Paragraphs.h"
#include "umd/CUMDHandler.h"

namespace QvFormat {

BookText::BookText(CUMDHandler* handler, const int* chunkOffsets, int length, int blocksPerSegment)
    : m_pHandler(handler), m_pChunkOffsets(chunkOffsets), m_nChunkCount(handler->GetChunkCount()),
      m_nLength(length), m_nBlocksPerSegment(blocksPerSegment) {}

int BookText::Read(int offset, int length, unsigned char* bytes) {
    const int* ends = m_pChunkOffsets + 1;
    int done = 0;
    while (done < length) {
        const int at = offset + done;
        const auto chunk =
            static_cast<int>(std::upper_bound(ends, ends + m_nChunkCount, at) - ends);
        if (chunk == m_nChunkCount || !Inflate(chunk))
            break;
        const int skip = at - m_pChunkOffsets[chunk];
        if (skip >= m_nChunkSize)
            break;
        const int count = std::min(length - done, m_nChunkSize - skip);
        std::memcpy(bytes + done, m_pChunk.get() + skip, static_cast<std::size_t>(count));
        done += count;
    }
    return done;
}

bool BookText::Inflate(int chunk) {
    if (chunk != m_nChunk) {
        m_pChunk.reset(); // before the next one takes its memory
        m_pChunk.reset(m_pHandler->GetChunkContent(chunk, &m_nChunkSize));
        m_nChunk = chunk;
    }
    return m_pChunk != nullptr;
}

SegmentText BookText::ReadBlocks(const BookPosition& place, int count) {
    if (place.block < 0 || place.block > m_nLength / kBlockBytes)
        return {};
    const int start = place.block * kBlockBytes;
    const int length =
        std::min({count * kBlockBytes, m_nLength - start, m_pChunkOffsets[m_nChunkCount] - start});
    MallocPtr<unsigned char> content(
        length > 0 ? static_cast<unsigned char*>(std::malloc(static_cast<std::size_t>(length)))
                   : nullptr);
    if (!content)
        return {};
    unsigned char before[kUtf16UnitBytes]; // read first: its chunk is then inflated once
    const bool hasBefore = place.block > 0 && Read(start - kUtf16UnitBytes, kUtf16UnitBytes,
                                                   before) == kUtf16UnitBytes;
    int read = Read(start, length, content.get());
    if (start + read < m_nLength)
        read -= read % kBlockBytes;
    SegmentText segment = ConvertBlocks(content.get(), read);
    segment.first = place.block;
    segment.continues = hasBefore && !IsParagraphSeparator(LoadLE16(before));
    segment.StartAt(place.offset);
    return segment;
}

SegmentText BookText::ReadSegment(const BookPosition& place) {
    SegmentText segment = ReadBlocks(place, m_nBlocksPerSegment);
    const bool reachesEnd = place.block + segment.blocks == BlocksIn(m_nLength);
    return segment.blocks == m_nBlocksPerSegment || reachesEnd ? std::move(segment) : SegmentText();
}

SegmentText BookText::ReadBlocksUpTo(int last) {
    int first = last + 1;
    while (last - first + 1 < m_nBlocksPerSegment && ReadBlocks({first - 1, 0}, 1).blocks > 0)
        --first;
    return ReadBlocks({first, 0}, last - first + 1);
}

int BookText::FindReadableBlock(int block, int step, int* passedOver) {
    for (; block >= 0 && block < BlocksIn(m_nLength); block += step) {
        const SegmentText found = ReadBlocks({block, 0}, 1);
        if (found.Length() > 0)
            return block;
        if (found.blocks == 0)
            *passedOver += std::min(kBlockBytes, m_nLength - block * kBlockBytes);
    }
    return -1;
}

} // namespace QvFormat
