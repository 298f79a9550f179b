#include "base/CMemoryStream.h"

#include <algorithm>
#include <cstring>

namespace QvFormat {
namespace {

template<typename T>
void StoreIfGiven(T value, T* out) {
    if (out)
        *out = value;
}

// origin + offset within 0 to length; origin is within it already. Nothing here can overflow.
long ClampedTarget(long origin, long offset, long length) {
    if (offset > length - origin)
        return length;
    if (offset < -origin)
        return 0;
    return origin + offset;
}

} // namespace

CMemoryStream::CMemoryStream(unsigned char* buffer, long length)
    : m_pBuffer(buffer), m_nLength(std::max(length, 0L)) {}

CMemoryStream::~CMemoryStream() = default;

int CMemoryStream::CountThatFits(int count) const {
    return static_cast<int>(std::min<long>(count, m_nLength - m_nPosition));
}

QVRESULT CMemoryStream::Read(unsigned char* buffer, int count, int* read) {
    if (!m_pBuffer)
        return QV_E_NOTREADY;
    if (!buffer || count <= 0)
        return QV_E_INVALIDARG;
    const int fitting = CountThatFits(count);
    std::memcpy(buffer, m_pBuffer.get() + m_nPosition, static_cast<std::size_t>(fitting));
    m_nPosition += fitting;
    StoreIfGiven(fitting, read);
    return QV_S_OK;
}

QVRESULT CMemoryStream::ReadByte(int* value) {
    if (!m_pBuffer)
        return QV_E_NOTREADY;
    if (!value)
        return QV_E_INVALIDARG;
    if (m_nPosition == m_nLength) {
        *value = -1;
        return QV_E_FAIL;
    }
    *value = m_pBuffer.get()[m_nPosition++];
    return QV_S_OK;
}

QVRESULT CMemoryStream::Seek(long offset, SeekMode mode, long* position) {
    if (!m_pBuffer)
        return QV_E_NOTREADY;
    if (mode < SeekFromBegin || mode > SeekFromEnd)
        return QV_E_INVALIDARG;
    const long origins[] = {0, m_nPosition, m_nLength};
    m_nPosition = ClampedTarget(origins[mode], offset, m_nLength);
    StoreIfGiven(m_nPosition, position);
    return QV_S_OK;
}

QVRESULT CMemoryStream::GetCanRead(int* canRead) {
    if (!m_pBuffer)
        return QV_E_NOTREADY;
    StoreIfGiven(1, canRead);
    return QV_S_OK;
}

QVRESULT CMemoryStream::GetCanSeek(int* canSeek) {
    return GetCanRead(canSeek);
}

QVRESULT CMemoryStream::GetCanWrite(int* canWrite) {
    return GetCanRead(canWrite);
}

QVRESULT CMemoryStream::GetLength(long* length) {
    if (!m_pBuffer)
        return QV_E_NOTREADY;
    StoreIfGiven(m_nLength, length);
    return QV_S_OK;
}

QVRESULT CMemoryStream::Tell(long* position) {
    if (!m_pBuffer)
        return QV_E_NOTREADY;
    StoreIfGiven(m_nPosition, position);
    return QV_S_OK;
}

QVRESULT CMemoryStream::Close() {
    if (!m_pBuffer)
        return QV_E_NOTREADY;
    m_pBuffer.reset();
    m_nLength = 0;
    m_nPosition = 0;
    return QV_S_OK;
}

QVRESULT CMemoryStream::Flush() {
    return QV_E_NOTIMPL;
}

QVRESULT CMemoryStream::Write(unsigned char* buffer, int count, int* written) {
    if (!m_pBuffer)
        return QV_E_NOTREADY;
    if (!buffer || count <= 0)
        return QV_E_INVALIDARG;
    const int fitting = CountThatFits(count);
    std::memcpy(m_pBuffer.get() + m_nPosition, buffer, static_cast<std::size_t>(fitting));
    m_nPosition += fitting;
    StoreIfGiven(fitting, written);
    return QV_S_OK;
}

QVRESULT CMemoryStream::WriteByte(unsigned char value) {
    if (!m_pBuffer)
        return QV_E_NOTREADY;
    if (m_nPosition == m_nLength)
        return QV_E_FAIL;
    m_pBuffer.get()[m_nPosition++] = value;
    return QV_S_OK;
}

} // namespace QvFormat
