#pragma once

#include <cstdint>

#include "QvExport.h"
#include "readingdata/QvpFormat.h"

namespace QvFormat {

// A record as its header describes it.
struct QvpRecord {
    long nOffset; // of the type byte in the file
    unsigned char nType;
    std::uint32_t nId;
    std::uint32_t nLength; // data bytes, if bWhole
    bool bWhole;           // false: the record reaches beyond the end of the file
};

// The one rule by which records are found: each begins where the one before it ends. Every step
// goes forward by at least a record header, whatever the lengths say.
class UMDFORMAT_API QvpRecordScan {
public:
    // `end` is the file's size, or LONG_MAX where that is not known.
    explicit QvpRecordScan(long end) : m_nEnd(end) {}

    // Where the next record begins.
    long Position() const { return m_nPosition; }

    // Takes the record whose header stands at Position() and steps over it. False after a record
    // that reaches beyond the end: nothing can follow it.
    bool Take(const unsigned char* header, QvpRecord* record);

    // Takes the next record of a whole file in memory; false after the last one.
    bool Next(const unsigned char* image, QvpRecord* record);

    // True when a scan that ran to its end has accounted for every byte: no record is cut off.
    bool ReachedEnd() const { return m_nPosition == m_nEnd; }

protected:
    long m_nEnd;
    long m_nPosition = QvpFormat::kHeaderSize; // the first record's
    bool m_bCutOff = false;
};

} // namespace QvFormat
