#include "ReadingDataFile.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <filesystem>
#include <new>

#include "common/Book.h"
#include "common/Failure.h"
#include "common/SavedPlace.h"

namespace umdview {

using namespace umdhost;

using namespace QvFormat;

namespace {

const unsigned char* StreamPath(const std::string& path) {
    return reinterpret_cast<const unsigned char*>(path.c_str());
}

bool IsFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

bool BeginsLikeReadingData(const std::string& path) {
    unsigned char magic[QvpFormat::MagicSize] = {};
    CFileStream stream(StreamPath(path), FileOpenRead);
    stream.Read(magic, sizeof(magic), nullptr);
    return std::memcmp(magic, QvpFormat::NewHeader, sizeof(magic)) == 0;
}

// The file itself, or the one beside the book of that name.
std::string Find(const std::string& path) {
    std::string beside = ReadingDataPath(path);
    if (IsFile(path) && BeginsLikeReadingData(path))
        return path;
    if (IsFile(beside))
        return beside;
    CheckFile(path);
    throw Failure(path, "not a reading-data file, and there is no " + beside);
}

} // namespace

ReadingDataFile::ReadingDataFile(const std::string& path)
    : m_sPath(Find(path)), m_stream(StreamPath(m_sPath), FileOpenRead) {
    CheckFile(m_sPath);
    if (!BeginsLikeReadingData(m_sPath))
        throw Failure(m_sPath, "not a reading-data file");
    m_stream.GetLength(&m_nSize);
    if (m_nSize < QvpFormat::HeaderSize)
        throw Failure(m_sPath, "damaged: its header is cut off");
    m_scan = QvpRecordScan(m_nSize);
    ReadAt(0, m_header, sizeof(m_header));
}

bool ReadingDataFile::Next(QvpRecord* record) {
    unsigned char header[QvpFormat::RecordHeaderSize];
    if (m_bTorn || m_nSize - m_scan.Position() < QvpFormat::RecordHeaderSize)
        return false;
    ReadAt(m_scan.Position(), header, sizeof(header));
    m_scan.Take(header, record);
    m_bTorn = !record->bWhole;
    return true;
}

long ReadingDataFile::ExtractSize(const QvpRecord& record) {
    constexpr long around = QvpFormat::HeaderSize + QvpFormat::RecordHeaderSize;
    return record.nLength > static_cast<unsigned long>(INT_MAX - around)
               ? 0
               : around + static_cast<long>(record.nLength);
}

ReadingDataFile::Bytes ReadingDataFile::Extract(const QvpRecord& record) {
    const long size = ExtractSize(record);
    if (size == 0)
        return nullptr;
    Bytes bytes(static_cast<unsigned char*>(::operator new(static_cast<std::size_t>(size))));
    std::copy(std::begin(m_header), std::end(m_header), bytes.get());
    ReadAt(record.nOffset, bytes.get() + QvpFormat::HeaderSize, size - QvpFormat::HeaderSize);
    return bytes;
}

void ReadingDataFile::ReadAt(long position, unsigned char* bytes, long count) {
    int read = 0;
    if (position != m_nPosition)
        m_stream.Seek(position, SeekFromBegin, nullptr);
    m_stream.Read(bytes, static_cast<int>(count), &read);
    if (read != count)
        throw Failure(m_sPath, "cannot be read at byte " + std::to_string(position));
    m_nPosition = position + count;
}

} // namespace umdview
