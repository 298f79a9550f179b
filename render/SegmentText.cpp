#include "render/SegmentText.h"

#include <algorithm>
#include <cstdlib>

#include "base/CharsetConverter.h"
#include "layout/Paragraphs.h"

namespace QvFormat {

namespace {

// The bytes of UTF-8 that one byte of UTF-16 can become are 1.5; room is offered for 2, and what is
// left of 3 stays zero after the text.
constexpr int kUtf8Room = 2;
constexpr int kUtf8Allocated = 3;

} // namespace

int SegmentText::OffsetOf(const BookPosition& place) const {
    const int index = place.block - first;
    return index <= blocks ? offsets[static_cast<std::size_t>(index)] + place.offset : Length();
}

// An offset that is not in the text comes from a damaged record and counts as its start.
void SegmentText::StartAt(int offset) {
    start = offset < 0 || offset >= Length() ? 0 : offset;
    while (start > 0 && (text.get()[start] & 0xC0) == 0x80)
        --start;
}

bool SegmentText::StartsInsideParagraph() const {
    return start == 0 ? continues
                      : !EndsParagraph(reinterpret_cast<const char*>(text.get()), start);
}

SegmentText ConvertBlocks(const unsigned char* content, int length) {
    SegmentText segment;
    segment.text.reset(
        static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(length), kUtf8Allocated)));
    const CharsetConverter converter(CharsetUTF8, CharsetUTF16LE, 1, 0);
    for (int at = 0; segment.text && at < length; at += kBlockBytes) {
        const int size = std::min(kBlockBytes, length - at) / kUtf16UnitBytes * kUtf16UnitBytes;
        const int end = segment.Length();
        unsigned long written = 0;
        if (converter.Convert(
                reinterpret_cast<const char*>(content + at), static_cast<unsigned int>(size),
                reinterpret_cast<char*>(segment.text.get() + end),
                static_cast<unsigned int>(kUtf8Room * length - end), &written) != QV_S_OK)
            break;
        segment.offsets[static_cast<std::size_t>(++segment.blocks)] =
            end + static_cast<int>(written);
    }
    return segment;
}

} // namespace QvFormat
