// The numbers of the reading-data file. docs/reading-data-format.md describes the format itself.
#pragma once

#include <cstdint>

#include "IBookInfoEntity.h"

namespace QvFormat::QvpFormat {

// --- file ---------------------------------------------------------------------------------------

// Magic (3 bytes), version (1), revision (1). Readers test the magic only.
constexpr unsigned char NewHeader[] = {'Q', 'V', 'P', 1, 0};
constexpr long HeaderSize = 5;
constexpr int MagicSize = 3;
constexpr int VersionAt = 3;
constexpr int RevisionAt = 4;

// --- records ------------------------------------------------------------------------------------

// Type (1 byte), file id (4), length of the data that follows (4).
constexpr long FirstRecordOffset = HeaderSize;
constexpr long RecordHeaderSize = 9;
constexpr int RecordIdAt = 1;
constexpr int RecordLengthAt = 5;

// More dead data bytes than this make a flush compact the file: about two book-information records,
// little beside the least file system block that a rewrite costs.
constexpr std::uint32_t MaxFreeData = 5120;

using QvFormat::CommonFileId;

// --- book information: slots of a capacity (4 bytes) and that many bytes ------------------------

constexpr unsigned int SlotHeaderSize = 4;

constexpr unsigned int NameCapacity = 200; // also author and publisher
constexpr unsigned int PathCapacity = 512; // also latest section
constexpr unsigned int ISBNCapacity = 100;
constexpr unsigned int SummaryCapacity = 1024;
constexpr unsigned int BookmarkCapacity = 20; // the buffer form of a position takes 9

constexpr unsigned int BookSourceSize = 1;
constexpr unsigned int ReadingProgressSize = 4;
constexpr unsigned int IsSerializedSize = 1;

// Where this library puts the fields. Readers find them by walking the capacities.
constexpr unsigned int BookNameAt = 0;
constexpr unsigned int AuthorNameAt = BookNameAt + SlotHeaderSize + NameCapacity;
constexpr unsigned int CoverPagePathAt = AuthorNameAt + SlotHeaderSize + NameCapacity;
constexpr unsigned int PublisherNameAt = CoverPagePathAt + SlotHeaderSize + PathCapacity;
constexpr unsigned int ISBNAt = PublisherNameAt + SlotHeaderSize + NameCapacity;
constexpr unsigned int SummaryAt = ISBNAt + SlotHeaderSize + ISBNCapacity;
constexpr unsigned int BookSourceAt = SummaryAt + SlotHeaderSize + SummaryCapacity;
constexpr unsigned int ReadingProgressAt = BookSourceAt + BookSourceSize;
constexpr unsigned int ReadingBookmarkAt = ReadingProgressAt + ReadingProgressSize;
constexpr unsigned int IsSerializedAt = ReadingBookmarkAt + SlotHeaderSize + BookmarkCapacity;
constexpr unsigned int LatestSectionAt = IsSerializedAt + IsSerializedSize;
constexpr unsigned int BookInfoLength = LatestSectionAt + SlotHeaderSize + PathCapacity;

static_assert(BookSourceAt == 2260 && ReadingBookmarkAt == 2265 && BookInfoLength == 2806);

// --- lists: every record begins with the number of entries in it --------------------------------

constexpr unsigned int CountSize = 4;

constexpr unsigned int IndexEntrySize = 4;
constexpr unsigned int IndexRecordLength = 804; // 200 entries

constexpr unsigned int TagSlotSize = 50;      // with the tag's NUL
constexpr unsigned int TagRecordLength = 504; // 10 tags

constexpr unsigned int PathValuesSize = 8;  // two integers before the path
constexpr unsigned int MaxPathLength = 499; // fills a new record exactly
constexpr unsigned int PathRecordLength = 512;

static_assert(CountSize + PathValuesSize + MaxPathLength + 1 == PathRecordLength);

// --- annotations --------------------------------------------------------------------------------

constexpr unsigned int PositionSize = 8; // block index, offset
constexpr unsigned int RangeSize = 12;   // and a length
constexpr unsigned int CommentSize = 13; // and the NUL of an empty comment
constexpr unsigned int BookmarkTypeSize = 1;

// Room for 56 positions, 39 ranges, or comments of 494 bytes together. A longer comment gets a
// longer record.
constexpr unsigned int AnnotationRecordLength = 512;

} // namespace QvFormat::QvpFormat
