#pragma once

#include <memory>
#include <string>

#include "base/CFileStream.h"
#include "base/CMemoryStream.h"
#include "readingdata/QvpFormat.h"
#include "readingdata/QvpRecordScan.h"

namespace umdview {

// A reading-data file as it lies on the disk, read record by record and never changed.
class ReadingDataFile {
public:
    // `path` is that of the file, or of the book it lies beside. Throws Failure when neither leads
    // to a reading-data file.
    explicit ReadingDataFile(const std::string& path);

    const std::string& Path() const { return m_sPath; }
    int Version() const { return m_header[QvFormat::QvpFormat::VersionAt]; }
    int Revision() const { return m_header[QvFormat::QvpFormat::RevisionAt]; }
    long Size() const { return m_nSize; }

    // Takes the next record's header; false behind the last one.
    bool Next(QvFormat::QvpRecord* record);

    // Bytes behind the last record, too few for another one; known once Next has returned false.
    long BytesLeft() const { return m_bTorn ? 0 : m_nSize - m_scan.Position(); }

    // A reading-data file of this one whole record: what the library makes of it is then known
    // without a search through all others. Null for a record longer than the library reads.
    using Bytes = std::unique_ptr<unsigned char, QvFormat::OperatorDelete>;
    Bytes Extract(const QvFormat::QvpRecord& record);
    static long ExtractSize(const QvFormat::QvpRecord& record);

private:
    void ReadAt(long position, unsigned char* bytes, long count);

    std::string m_sPath;
    QvFormat::CFileStream m_stream;
    unsigned char m_header[QvFormat::QvpFormat::HeaderSize] = {};
    long m_nSize = 0;
    long m_nPosition = 0; // the stream's
    QvFormat::QvpRecordScan m_scan{0};
    bool m_bTorn = false;
};

} // namespace umdview
