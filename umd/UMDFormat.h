// The numbers of the UMD container. docs/umd-format.md describes the format itself.
#pragma once

#include <climits>

namespace QvFormat::UMDFormat {

// --- file ---------------------------------------------------------------------------------------

// Nodes follow the 4 bytes of the file's signature, which readers ignore.
constexpr int kFirstNodeOffset = 4;

// Offsets and sizes are signed 32-bit integers; a node whose header would pass this is not read.
constexpr int kMaxOffset = INT_MAX;

// --- nodes --------------------------------------------------------------------------------------

// Function node: mark (1 byte), type (2, signed), flag (1, ignored), length of the node (1).
constexpr unsigned char kFunctionMark = 0x23;
constexpr int kFunctionHeaderSize = 5;
constexpr int kFunctionTypeAt = 1;
constexpr int kFunctionLengthAt = 4;

// Data node: mark (1 byte), identifier (4), length of the node (4, signed).
constexpr unsigned char kDataMark = 0x24;
constexpr int kDataHeaderSize = 9;
constexpr int kDataIdentifierAt = 1;
constexpr int kDataLengthAt = 5;

// Types of function nodes. Readers skip all others.
enum FunctionType : int {
    BookType = 0x01,
    Title = 0x02, // 0x02 to 0x09 are the book's information strings
    Author = 0x03,
    Year = 0x04,
    Month = 0x05,
    Day = 0x06,
    Genre = 0x07,
    Publisher = 0x08,
    Vendor = 0x09,
    Chunks = 0x0A,
    ContentLength = 0x0B,
    ChapterOffsets = 0x83,
    ChapterTitles = 0x84,
    MoreChunks = 0xF1,
};

// --- contents -----------------------------------------------------------------------------------

// The one book type that holds text.
constexpr unsigned char kTextBook = 1;

// An integer: the declared content length, an entry of the chapter offset table, an identifier.
constexpr int kIntegerSize = 4;

// A title record is one length byte and at most 255 bytes of text.
constexpr int kMaxTitleRecordSize = 1 + 255;

// --- memory -------------------------------------------------------------------------------------

// Entries by which the chunk list grows: 100 chunks of 32 KiB are 3 MB of text, a long novel.
constexpr int kChunkListGrowth = 100;

// The buffer a chunk is inflated into first: 32 KiB, the usual chunk, with 1 KiB to spare. A larger
// chunk gets the smallest buffer of this size plus whole steps that holds it.
constexpr int kInflateBufferSize = 33792;
constexpr int kInflateBufferStep = 10240;

// Memory for a larger claim is taken only when the file is long enough to hold it.
constexpr int kSmallClaim = kInflateBufferSize;

} // namespace QvFormat::UMDFormat
