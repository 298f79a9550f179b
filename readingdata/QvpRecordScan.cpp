#include "readingdata/QvpRecordScan.h"

#include "base/LittleEndian.h"

namespace QvFormat {

bool QvpRecordScan::Take(const unsigned char* header, QvpRecord* record) {
    const long room = m_nEnd - m_nPosition;
    if (m_bCutOff || room < QvpFormat::kRecordHeaderSize)
        return false;
    record->nOffset = m_nPosition;
    record->nType = header[0];
    record->nId = LoadLE32(header + QvpFormat::kRecordIdAt);
    record->nLength = LoadLE32(header + QvpFormat::kRecordLengthAt);
    record->bWhole =
        record->nLength <= static_cast<unsigned long>(room - QvpFormat::kRecordHeaderSize);
    m_bCutOff = !record->bWhole;
    if (record->bWhole)
        m_nPosition += QvpFormat::kRecordHeaderSize + static_cast<long>(record->nLength);
    return true;
}

bool QvpRecordScan::Next(const unsigned char* image, QvpRecord* record) {
    return Take(image + m_nPosition, record);
}

} // namespace QvFormat
