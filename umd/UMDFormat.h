// The numbers of the UMD container. docs/umd-format.md describes the format itself.
#pragma once

#include <climits>

namespace QvFormat::UMDFormat {

// --- file ---------------------------------------------------------------------------------------

// Nodes follow the 4 bytes of the file's signature, which readers ignore.
constexpr int FirstNodeOffset = 4;

// Offsets and sizes are signed 32-bit integers; a node whose header would pass this is not read.
constexpr int MaxOffset = INT_MAX;

// --- nodes --------------------------------------------------------------------------------------

// Function node: mark (1 byte), type (2, signed), flag (1, ignored), length of the node (1).
constexpr unsigned char FunctionMark = 0x23;
constexpr int FunctionHeaderSize = 5;
constexpr int FunctionTypeAt = 1;
constexpr int FunctionLengthAt = 4;

// Data node: mark (1 byte), identifier (4), length of the node (4, signed).
constexpr unsigned char DataMark = 0x24;
constexpr int DataHeaderSize = 9;
constexpr int DataIdentifierAt = 1;
constexpr int DataLengthAt = 5;

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
constexpr unsigned char TextBook = 1;

// An integer: the declared content length, an entry of the chapter offset table, an identifier.
constexpr int IntegerSize = 4;

// A title record is one length byte and at most 255 bytes of text.
constexpr int MaxTitleRecordSize = 1 + 255;

// --- memory -------------------------------------------------------------------------------------

// Entries by which the chunk list grows: 100 chunks of 32 KiB are 3 MB of text, a long novel.
constexpr int ChunkListGrowth = 100;

// The buffer a chunk is inflated into first: 32 KiB, the usual chunk, with 1 KiB to spare. A larger
// chunk gets the smallest buffer of this size plus whole steps that holds it.
constexpr int InflateBufferSize = 33792;
constexpr int InflateBufferStep = 10240;

} // namespace QvFormat::UMDFormat
