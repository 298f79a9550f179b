#include "readingdata/CBookAnnotationImpl.h"

#include <climits>
#include <cstring>

#include "base/LittleEndian.h"
#include "base/OwnedArray.h"
#include "readingdata/QvpFormat.h"

namespace QvFormat {

namespace {

constexpr unsigned int kOffsetAt = 4;
constexpr unsigned int kLengthAt = QvpFormat::kPositionSize;
constexpr unsigned int kCommentAt = QvpFormat::kRangeSize;

template<typename T>
QVRESULT Give(T value, T* out) {
    if (!out)
        return QV_E_INVALIDARG;
    *out = value;
    return QV_S_OK;
}

} // namespace

CBookAnnotationImpl::CBookAnnotationImpl() : CBookAnnotationImpl(QvAnnotationPosition) {}

CBookAnnotationImpl::CBookAnnotationImpl(QvAnnotationType type) : m_eAnnotationType(type) {}

CBookAnnotationImpl::~CBookAnnotationImpl() = default;

const char* CBookAnnotationImpl::StoredComment() const {
    const bool isStored =
        QvpFormat::LeastAnnotationSize(m_eAnnotationType) == QvpFormat::kCommentSize;
    return isStored && m_pszComment ? m_pszComment.get() : "";
}

QVRESULT CBookAnnotationImpl::GetAnnotationType(QvAnnotationType* type) {
    return Give(m_eAnnotationType, type);
}

QVRESULT CBookAnnotationImpl::GetBookmarkType(QvBookmarkType* type) {
    return Give(QvBookmarkDefault, type);
}

QVRESULT CBookAnnotationImpl::GetDataSize(unsigned int* size) {
    if (!size)
        return QV_E_INVALIDARG;
    const unsigned int least = QvpFormat::LeastAnnotationSize(m_eAnnotationType);
    const std::size_t comment = std::strlen(StoredComment());
    if (m_eAnnotationType < QvAnnotationPosition || m_eAnnotationType > QvAnnotationComment ||
        comment > UINT_MAX - least)
        return QV_E_FAIL;
    *size = least + static_cast<unsigned int>(comment);
    return QV_S_OK;
}

QVRESULT CBookAnnotationImpl::GetBlockIndex(unsigned int* blockIndex) {
    return Give(m_nBlockIndex, blockIndex);
}

QVRESULT CBookAnnotationImpl::SetBlockIndex(unsigned int blockIndex) {
    m_nBlockIndex = blockIndex;
    return QV_S_OK;
}

QVRESULT CBookAnnotationImpl::GetOffset(unsigned int* offset) {
    return Give(m_nOffset, offset);
}

QVRESULT CBookAnnotationImpl::SetOffset(unsigned int offset) {
    m_nOffset = offset;
    return QV_S_OK;
}

QVRESULT CBookAnnotationImpl::GetLength(unsigned int* length) {
    return Give(m_nLength, length);
}

QVRESULT CBookAnnotationImpl::SetLength(unsigned int length) {
    m_nLength = length;
    return QV_S_OK;
}

QVRESULT CBookAnnotationImpl::GetComment(char** comment) {
    if (!comment || !m_pszComment)
        return QV_E_INVALIDARG;
    *comment = CopyString(m_pszComment.get()).release();
    return *comment ? QV_S_OK : QV_E_OUTOFMEMORY;
}

QVRESULT CBookAnnotationImpl::SetComment(char* comment) {
    if (!comment)
        return QV_E_INVALIDARG;
    std::unique_ptr<char[]> copy = CopyString(comment);
    if (!copy)
        return QV_E_OUTOFMEMORY;
    m_pszComment = std::move(copy);
    return QV_S_OK;
}

QVRESULT CBookAnnotationImpl::ReadData(unsigned char const* buffer, unsigned int size) {
    if (!buffer || size < QvpFormat::LeastAnnotationSize(m_eAnnotationType))
        return QV_E_INVALIDARG;
    m_nBlockIndex = LoadLE32(buffer);
    m_nOffset = LoadLE32(buffer + kOffsetAt);
    if (m_eAnnotationType == QvAnnotationPosition)
        return QV_S_OK;
    m_nLength = LoadLE32(buffer + kLengthAt);
    if (m_eAnnotationType == QvAnnotationRange)
        return QV_S_OK;
    const auto* text = reinterpret_cast<const char*>(buffer + kCommentAt);
    const std::size_t length = strnlen(text, size - kCommentAt);
    if (length == size - kCommentAt)
        return QV_E_INVALIDARG;
    m_pszComment = CopyString(text, length);
    return m_pszComment ? QV_S_OK : QV_E_OUTOFMEMORY;
}

QVRESULT CBookAnnotationImpl::WriteData(unsigned char* buffer, unsigned int size) {
    const unsigned int least = QvpFormat::LeastAnnotationSize(m_eAnnotationType);
    const std::size_t comment = std::strlen(StoredComment());
    if (!buffer || size < least || size - least < comment)
        return QV_E_INVALIDARG;
    StoreLE32(buffer, m_nBlockIndex);
    StoreLE32(buffer + kOffsetAt, m_nOffset);
    if (least > QvpFormat::kPositionSize)
        StoreLE32(buffer + kLengthAt, m_nLength);
    if (least == QvpFormat::kCommentSize)
        std::memcpy(buffer + kCommentAt, StoredComment(), comment + 1);
    return QV_S_OK;
}

} // namespace QvFormat
