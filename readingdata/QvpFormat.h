// The numbers of the reading-data file. docs/reading-data-format.md describes the format itself.
#pragma once

#include <cstdint>

#include "QvAnnotationType.h"

namespace QvFormat::QvpFormat {

// --- file ---------------------------------------------------------------------------------------

// Magic (3 bytes), version (1), revision (1). Readers test the magic only.
constexpr unsigned char kNewHeader[] = {'Q', 'V', 'P', 1, 0};
constexpr long kHeaderSize = 5;
constexpr int kMagicSize = 3;
constexpr int kVersionAt = 3;
constexpr int kRevisionAt = 4;

// --- records ------------------------------------------------------------------------------------

// Type (1 byte), file id (4), length of the data that follows (4).
constexpr long kRecordHeaderSize = 9;
constexpr int kRecordIdAt = 1;
constexpr int kRecordLengthAt = 5;

// More dead data bytes than this make a flush compact the file: about two book-information records,
// little against the smallest file system block that a compaction costs.
constexpr std::uint32_t kMaxFreeData = 5120;

// --- book information: slots of a capacity (4 bytes) and that many bytes ------------------------

constexpr unsigned int kSlotHeaderSize = 4;

constexpr unsigned int kNameCapacity = 200; // also author and publisher
constexpr unsigned int kPathCapacity = 512; // also latest section
constexpr unsigned int kISBNCapacity = 100;
constexpr unsigned int kSummaryCapacity = 1024;
constexpr unsigned int kBookmarkCapacity = 20; // the buffer form of a position takes 9

constexpr unsigned int kBookSourceSize = 1;
constexpr unsigned int kReadingProgressSize = 4;
constexpr unsigned int kIsSerializedSize = 1;

// Of a new record. Readers find its fields by walking the capacities.
constexpr unsigned int kBookInfoLength =
    8 * kSlotHeaderSize + 3 * kNameCapacity + 2 * kPathCapacity + kISBNCapacity + kSummaryCapacity +
    kBookmarkCapacity + kBookSourceSize + kReadingProgressSize + kIsSerializedSize;

static_assert(kBookInfoLength == 2806);

// --- lists: every record begins with the number of entries in it --------------------------------

constexpr unsigned int kCountSize = 4;

constexpr unsigned int kIndexEntrySize = 4;
constexpr unsigned int kIndexRecordLength = 804; // 200 entries

constexpr unsigned int kTagSlotSize = 50;      // with the tag's NUL
constexpr unsigned int kTagRecordLength = 504; // 10 tags

constexpr unsigned int kPathValuesSize = 8;  // two integers before the path
constexpr unsigned int kMaxPathLength = 499; // fills a new record exactly
constexpr unsigned int kPathRecordLength = 512;

static_assert(kCountSize + kPathValuesSize + kMaxPathLength + 1 == kPathRecordLength);

// --- annotations --------------------------------------------------------------------------------

constexpr unsigned int kPositionSize = 8; // block index, offset
constexpr unsigned int kRangeSize = 12;   // and a length
constexpr unsigned int kCommentSize = 13; // and the NUL of an empty comment
constexpr unsigned int kBookmarkTypeSize = 1;

// The bytes of an annotation's data, for a comment those of an empty one. Types above 2 are checked
// as comments.
constexpr unsigned int LeastAnnotationSize(QvAnnotationType type) {
    if (type == QvAnnotationPosition)
        return kPositionSize;
    return type == QvAnnotationRange ? kRangeSize : kCommentSize;
}

// Room for 56 positions, 39 ranges, or comments of 494 bytes together. A longer comment gets a
// longer record.
constexpr unsigned int kAnnotationRecordLength = 512;

} // namespace QvFormat::QvpFormat
