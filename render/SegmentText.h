#pragma once

#include <array>

#include "base/Handles.h"
#include "render/BookPosition.h"

namespace QvFormat {

constexpr int kUtf16UnitBytes = 2;
constexpr int kBlockBytes = 128; // of UTF-16LE
constexpr int kMostBlocks = 80;  // of a segment

constexpr int BlocksIn(int bytes) {
    return (bytes + kBlockBytes - 1) / kBlockBytes;
}

// The text of a run of blocks: UTF-8, each block converted on its own.
struct SegmentText {
    int first = 0;                              // block of the book
    int blocks = 0;                             // how many
    int start = 0;                              // byte with which the layout's text begins
    bool continues = false;                     // the run begins inside a paragraph
    std::array<int, kMostBlocks + 1> offsets{}; // bytes before each block, and in all
    MallocPtr<unsigned char> text;              // followed by zero bytes

    int Length() const { return offsets[static_cast<std::size_t>(blocks)]; }

    // The byte of a place; the end for one after the run.
    int OffsetOf(const BookPosition& place) const;

    // Makes `start` the first byte of the character at `offset`, or 0 when that is not in the text.
    void StartAt(int offset);

    // Whether the text goes on with a paragraph at `start`.
    bool StartsInsideParagraph() const;
};

// Converts UTF-16LE, at most kMostBlocks blocks of it, up to the first block that cannot be
// converted: one that ends inside a character. Invalid sequences and half a unit at the end are
// left out. Without memory there are no blocks.
SegmentText ConvertBlocks(const unsigned char* content, int length);

} // namespace QvFormat
