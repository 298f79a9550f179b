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

// The bytes that an annotation without comment takes; types above 2 are checked as comments.
unsigned int LeastSize(QvAnnotationType type) {
    if (type == QvAnnotationPosition)
        return QvpFormat::kPositionSize;
    return type == QvAnnotationRange ? QvpFormat::kRangeSize : QvpFormat::kCommentSize;
}

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

std::size_t CBookAnnotationImpl::CommentLength() const {
    return m_pszComment ? std::strlen(m_pszComment.get()) : 0;
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
    if (m_eAnnotationType < QvAnnotationPosition || m_eAnnotationType > QvAnnotationComment)
        return QV_E_FAIL;
    const std::size_t comment = m_eAnnotationType == QvAnnotationComment ? CommentLength() : 0;
    const unsigned int least = LeastSize(m_eAnnotationType);
    if (comment > UINT_MAX - least)
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
    if (!buffer || size < LeastSize(m_eAnnotationType))
        return QV_E_INVALIDARG;
    m_nBlockIndex = LoadLE32(buffer);
    m_nOffset = LoadLE32(buffer + kOffsetAt);
    if (m_eAnnotationType == QvAnnotationPosition)
        return QV_S_OK;
    m_nLength = LoadLE32(buffer + kLengthAt);
    if (m_eAnnotationType == QvAnnotationRange)
        return QV_S_OK;
    const auto* text = reinterpret_cast<const char*>(buffer + kCommentAt);
    const auto* end = static_cast<const char*>(std::memchr(text, 0, size - kCommentAt));
    if (!end)
        return QV_E_INVALIDARG;
    m_pszComment = CopyString(text, static_cast<std::size_t>(end - text));
    return m_pszComment ? QV_S_OK : QV_E_OUTOFMEMORY;
}

QVRESULT CBookAnnotationImpl::WriteData(unsigned char* buffer, unsigned int size) {
    const unsigned int least = LeastSize(m_eAnnotationType);
    if (!buffer || size < least)
        return QV_E_INVALIDARG;
    const bool isComment =
        m_eAnnotationType != QvAnnotationPosition && m_eAnnotationType != QvAnnotationRange;
    const std::size_t length = CommentLength();
    if (isComment && length > size - least)
        return QV_E_INVALIDARG;
    StoreLE32(buffer, m_nBlockIndex);
    StoreLE32(buffer + kOffsetAt, m_nOffset);
    if (m_eAnnotationType != QvAnnotationPosition)
        StoreLE32(buffer + kLengthAt, m_nLength);
    if (isComment) {
        if (length != 0)
            std::memcpy(buffer + kCommentAt, m_pszComment.get(), length);
        buffer[kCommentAt + length] = '\0';
    }
    return QV_S_OK;
}

} // namespace QvFormat
