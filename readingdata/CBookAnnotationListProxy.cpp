#include "readingdata/CBookAnnotationListProxy.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "base/OwnedArray.h"
#include "readingdata/CBookAnnotationHelper.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

// Record lengths and positions in a file are signed 32-bit numbers on the device.
constexpr unsigned int kMaxDataSize =
    INT_MAX - QvpFormat::kRecordHeaderSize - QvpFormat::kCountSize - QvpFormat::kBookmarkTypeSize;

QvAnnotationType AnnotationTypeOf(QvpNodeType type) {
    return static_cast<QvAnnotationType>(type - QvpNodePositionAnnotations);
}

// Bytes that an entry takes in a record, for a comment those of an empty one.
unsigned int LeastEntrySize(QvpNodeType type) {
    if (type == QvpNodePositionAnnotations)
        return QvpFormat::kBookmarkTypeSize + QvpFormat::kPositionSize;
    return QvpFormat::kBookmarkTypeSize +
           (type == QvpNodeRangeAnnotations ? QvpFormat::kRangeSize : QvpFormat::kCommentSize);
}

// Bytes of the entry at `entry`; 0 when it does not end within the `left` bytes.
unsigned int EntrySize(QvpNodeType type, const unsigned char* entry, unsigned int left) {
    const unsigned int least = LeastEntrySize(type);
    if (left < least)
        return 0;
    if (type != QvpNodeCommentAnnotations)
        return least;
    const unsigned char* comment = entry + least - 1;
    const void* end = std::memchr(comment, 0, left - (least - 1));
    return end ? least + static_cast<unsigned int>(static_cast<const unsigned char*>(end) - comment)
               : 0;
}

// The array's stride is CBookAnnotationImpl's; a single annotation may be of any class.
IBookAnnotation* ElementAt(IBookAnnotation* list, unsigned int i) {
    return i == 0 ? list : static_cast<CBookAnnotationImpl*>(list) + i;
}

bool IsStorable(IBookAnnotation* annotation, QvAnnotationType expected) {
    QvAnnotationType type = {};
    unsigned int size = 0;
    return annotation->GetAnnotationType(&type) == QV_S_OK && type == expected &&
           annotation->GetDataSize(&size) == QV_S_OK && size <= kMaxDataSize;
}

class AnnotationEntries {
public:
    AnnotationEntries(IBookAnnotation* list, unsigned int count, QvAnnotationType type)
        : m_pList(list), m_nCount(count), m_eType(type) {}

    bool Done() const { return m_nNext == m_nCount; }

    // What the next annotation takes in a record.
    unsigned int NextSize() const {
        unsigned int size = 0;
        ElementAt(m_pList, m_nNext)->GetDataSize(&size);
        return QvpFormat::kBookmarkTypeSize + size;
    }

    std::uint32_t Fill(unsigned char* data, std::uint32_t length) {
        const unsigned int first = m_nNext;
        std::uint32_t position = QvpFormat::kCountSize;
        for (; !Done(); ++m_nNext) {
            const unsigned int size = NextSize();
            if (size > length - position ||
                !CBookAnnotationHelper::SaveAnnotationToBuffer(ElementAt(m_pList, m_nNext), m_eType,
                                                               data + position, size))
                break;
            position += size;
        }
        return m_nNext - first;
    }

private:
    IBookAnnotation* m_pList;
    unsigned int m_nCount;
    QvAnnotationType m_eType;
    unsigned int m_nNext = 0;
};

// Decodes one record after the `*count` annotations in `list`.
QVRESULT ReadRecord(const Qvp_Node* node, CBookAnnotationImpl* list, unsigned int* count) {
    unsigned int position = QvpFormat::kCountSize;
    for (std::uint32_t held = LoadLE32(node->pData); held != 0; --held) {
        const unsigned char* entry = node->pData + position;
        const unsigned int size = EntrySize(node->nType, entry, node->nLength - position);
        if (size == 0)
            return QV_S_OK;
        position += size;
        if (entry[0] != QvBookmarkDefault)
            continue;
        const QVRESULT result = list[*count].ReadData(entry + QvpFormat::kBookmarkTypeSize,
                                                      size - QvpFormat::kBookmarkTypeSize);
        if (result != QV_S_OK)
            return result;
        ++*count;
    }
    return QV_S_OK;
}

} // namespace

CBookAnnotationListProxy::CBookAnnotationListProxy(CQvpFile* file, unsigned int fileId)
    : CBookAnnotationProxyBase(file, fileId) {}

CBookAnnotationListProxy::~CBookAnnotationListProxy() = default;

CBookAnnotationImpl* CBookAnnotationListProxy::NewList(QvAnnotationType type, unsigned int count) {
    const std::size_t elements = count;
    if (RecordTypeOf(type) == QvpNodeFree ||
        elements > PTRDIFF_MAX / sizeof(CBookAnnotationImpl) - 1)
        return nullptr;
    auto* list = new (std::nothrow) CBookAnnotationImpl[elements];
    for (unsigned int i = 0; list && i < count; ++i)
        list[i].m_eAnnotationType = type;
    return list;
}

QVRESULT CBookAnnotationListProxy::WriteAnnotationList(QvpNodeType type, IBookAnnotation* list,
                                                       unsigned int count) {
    const QvAnnotationType annotationType = AnnotationTypeOf(type);
    for (unsigned int i = 0; i < count; ++i) {
        if (!IsStorable(ElementAt(list, i), annotationType))
            return QV_E_INVALIDARG;
    }
    AnnotationEntries remaining(list, count, annotationType);
    return ReplaceRecords(m_pFile, type, m_nFileId, &ListOf(type), &remaining, [&, this] {
        const unsigned int length = QvpFormat::kCountSize + remaining.NextSize();
        return NewQvpNode(type, m_nFileId, std::max(QvpFormat::kAnnotationRecordLength, length))
            .release();
    });
}

QVRESULT CBookAnnotationListProxy::ReadAnnotationList(QvpNodeType type, IBookAnnotation** list,
                                                      unsigned int* count) {
    const unsigned int total = CountEntries(ListOf(type), type, LeastEntrySize(type));
    OwnedArray<CBookAnnotationImpl> annotations(NewList(AnnotationTypeOf(type), total));
    if (!annotations)
        return QV_E_OUTOFMEMORY;
    unsigned int delivered = 0;
    QVRESULT result = QV_S_OK;
    ForEachInUse(ListOf(type), type, [&](const Qvp_Node* node) {
        result = ReadRecord(node, annotations.get(), &delivered);
        return result == QV_S_OK;
    });
    if (result != QV_S_OK)
        return result;
    if (count)
        *count = delivered;
    if (delivered != 0)
        *list = annotations.release();
    return QV_S_OK;
}

} // namespace QvFormat
