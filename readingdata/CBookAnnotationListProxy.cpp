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
    return QvpFormat::kBookmarkTypeSize + QvpFormat::LeastAnnotationSize(AnnotationTypeOf(type));
}

// Bytes of the entry at `entry`; 0 when it does not end before `end`.
unsigned int EntrySize(QvpNodeType type, const unsigned char* entry, const unsigned char* end) {
    const auto left = static_cast<std::size_t>(end - entry);
    std::size_t size = LeastEntrySize(type);
    if (type == QvpNodeCommentAnnotations && size <= left)
        size += strnlen(reinterpret_cast<const char*>(entry) + size - 1, left - size + 1);
    return size <= left ? static_cast<unsigned int>(size) : 0;
}

// The annotations of a list that is being written. The array's stride is CBookAnnotationImpl's; a
// single annotation may be of any class.
struct Annotations {
    IBookAnnotation* pFirst;

    IBookAnnotation* operator[](unsigned int i) const {
        return i == 0 ? pFirst : static_cast<CBookAnnotationImpl*>(pFirst) + i;
    }
};

// What an annotation takes in a record; 0 when a list of the expected type cannot hold it.
unsigned int SizeInRecord(IBookAnnotation* annotation, QvAnnotationType expected) {
    QvAnnotationType type = {};
    unsigned int size = 0;
    const bool isStorable = annotation->GetAnnotationType(&type) == QV_S_OK && type == expected &&
                            annotation->GetDataSize(&size) == QV_S_OK && size <= kMaxDataSize;
    return isStorable ? QvpFormat::kBookmarkTypeSize + size : 0;
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
    const Annotations annotations = {list};
    for (unsigned int i = 0; i < count; ++i) {
        if (SizeInRecord(annotations[i], annotationType) == 0)
            return QV_E_INVALIDARG;
    }
    const auto store = [=](IBookAnnotation* annotation, unsigned char* bytes, unsigned int room) {
        const unsigned int size = SizeInRecord(annotation, annotationType);
        const bool isStored = size <= room && CBookAnnotationHelper::SaveAnnotationToBuffer(
                                                  annotation, annotationType, bytes, size);
        return isStored ? size : 0;
    };
    const auto create = [=](IBookAnnotation* first) {
        const unsigned int length = QvpFormat::kCountSize + SizeInRecord(first, annotationType);
        return NewQvpNode(type, m_nFileId, std::max(QvpFormat::kAnnotationRecordLength, length))
            .release();
    };
    return ReplaceRecords(m_pFile, type, m_nFileId, &ListOf(type), annotations, count, store,
                          create);
}

QVRESULT CBookAnnotationListProxy::ReadAnnotationList(QvpNodeType type, IBookAnnotation** list,
                                                      unsigned int* count) {
    const unsigned int total = CountEntries(ListOf(type), type, LeastEntrySize(type));
    OwnedArray<CBookAnnotationImpl> annotations(NewList(AnnotationTypeOf(type), total));
    unsigned int delivered = 0;
    const auto read = [&](const unsigned char** next, const unsigned char* end) {
        const unsigned char* entry = *next;
        const unsigned int size = EntrySize(type, entry, end);
        *next = size == 0 ? end : entry + size;
        if (size == 0 || entry[0] != QvBookmarkDefault)
            return true;
        return annotations[delivered++].ReadData(entry + QvpFormat::kBookmarkTypeSize,
                                                 size - QvpFormat::kBookmarkTypeSize) == QV_S_OK;
    };
    if (!annotations || !ForEachEntry(ListOf(type), type, read))
        return QV_E_OUTOFMEMORY;
    if (count)
        *count = delivered;
    if (delivered != 0)
        *list = annotations.release();
    return QV_S_OK;
}

} // namespace QvFormat
