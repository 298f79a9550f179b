#include "base/CFileStream.h"

#include <algorithm>
#include <climits>

#include <stdio_ext.h>
#include <sys/stat.h>

namespace QvFormat {
namespace {

constexpr long kShortWay = 8192; // bytes

std::FILE* Open(const unsigned char* path, FileOpenType type) {
    static const char* const modes[] = {"rb", "wb", "r+b"};
    if (!path || type < FileOpenRead || type > FileOpenReadWrite)
        return nullptr;
    return std::fopen(reinterpret_cast<const char*>(path), modes[type]);
}

// On a file open for both, C leaves a read right after a write undefined, and the reverse. A seek
// to where the file stands makes the turn; it is made only then, so that runs stay buffered.
void TurnToReading(std::FILE* file) {
    if (__fwriting(file))
        std::fseek(file, 0, SEEK_CUR);
}

void TurnToWriting(std::FILE* file) {
    if (__freading(file))
        std::fseek(file, 0, SEEK_CUR);
}

// Asks the system, which leaves alone what stdio has read ahead. False where the size is no length,
// as for a device.
bool StoreFileSize(std::FILE* file, long* length) {
    struct stat status = {};
    if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > LONG_MAX)
        return false;
    if (length)
        *length = static_cast<long>(status.st_size);
    return true;
}

QVRESULT StoreFlag(bool flag, int* out) {
    if (!out)
        return QV_E_INVALIDARG;
    *out = flag ? 1 : 0;
    return QV_S_OK;
}

} // namespace

CFileStream::CFileStream(const unsigned char* path, FileOpenType type)
    : m_pFile(Open(path, type)), m_nOpenType(type) {}

CFileStream::~CFileStream() = default;

QVRESULT CFileStream::Read(unsigned char* buffer, int count, int* read) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!buffer || count <= 0)
        return QV_E_INVALIDARG;
    TurnToReading(m_pFile.get());
    const std::size_t got = std::fread(buffer, 1, static_cast<std::size_t>(count), m_pFile.get());
    if (read)
        *read = static_cast<int>(got);
    return QV_S_OK;
}

QVRESULT CFileStream::ReadByte(int* value) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!value)
        return QV_E_INVALIDARG;
    TurnToReading(m_pFile.get());
    unsigned char byte = 0;
    if (std::fread(&byte, 1, 1, m_pFile.get()) != 1)
        return QV_E_FAIL;
    *value = byte;
    return QV_S_OK;
}

QVRESULT CFileStream::Seek(long offset, SeekMode mode, long* position) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (mode < SeekFromBegin || mode > SeekFromEnd)
        return QV_E_INVALIDARG;
    if (!ReadOnTo(offset, mode))
        std::fseek(m_pFile.get(), offset, mode);
    return Tell(position);
}

// stdio asks the system to move for every seek, also to where the file stands, and drops what it
// has read ahead. So a file that is only read goes a short way on by reading.
bool CFileStream::ReadOnTo(long offset, SeekMode mode) const {
    std::FILE* file = m_pFile.get();
    if (m_nOpenType != FileOpenRead || mode != SeekFromBegin)
        return false;
    if (__fbufsize(file) == 0)         // nothing was done yet
        std::fseek(file, 0, SEEK_SET); // from now on stdio tells the position without the system
    const long position = std::ftell(file);
    if (position < 0 || offset < position || offset - position > kShortWay)
        return false;
    std::clearerr(file); // a seek forgets that the end was met
    char passed[512];
    auto left = static_cast<std::size_t>(offset - position);
    while (left > 0) {
        const std::size_t count = std::fread(passed, 1, std::min(left, sizeof passed), file);
        if (count == 0)
            return false;
        left -= count;
    }
    return true;
}

QVRESULT CFileStream::GetCanRead(int* canRead) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    return StoreFlag(m_nOpenType != FileOpenCreate, canRead);
}

QVRESULT CFileStream::GetCanSeek(int* canSeek) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    return StoreFlag(true, canSeek);
}

QVRESULT CFileStream::GetCanWrite(int* canWrite) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    return StoreFlag(m_nOpenType != FileOpenRead, canWrite);
}

QVRESULT CFileStream::GetLength(long* length) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (m_nOpenType == FileOpenRead && StoreFileSize(m_pFile.get(), length))
        return QV_S_OK;
    const long position = std::ftell(m_pFile.get());
    Seek(0, SeekFromEnd, length);
    return Seek(position, SeekFromBegin, nullptr);
}

QVRESULT CFileStream::Tell(long* position) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (position)
        *position = std::ftell(m_pFile.get());
    return QV_S_OK;
}

QVRESULT CFileStream::Close() {
    if (!m_pFile)
        return QV_E_NOTREADY;
    m_pFile.reset();
    return QV_S_OK;
}

QVRESULT CFileStream::Flush() {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (m_nOpenType == FileOpenRead)
        return 1;
    return std::fflush(m_pFile.get()) == 0 ? QV_S_OK : 1;
}

QVRESULT CFileStream::Write(unsigned char* buffer, int count, int* written) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!buffer || count <= 0)
        return QV_E_INVALIDARG;
    TurnToWriting(m_pFile.get());
    const std::size_t put = std::fwrite(buffer, 1, static_cast<std::size_t>(count), m_pFile.get());
    if (written)
        *written = static_cast<int>(put);
    return QV_S_OK;
}

QVRESULT CFileStream::WriteByte(unsigned char value) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    TurnToWriting(m_pFile.get());
    return std::fwrite(&value, 1, 1, m_pFile.get()) == 1 ? QV_S_OK : QV_E_FAIL;
}

} // namespace QvFormat
