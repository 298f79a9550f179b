#pragma once

#include "readingdata/CBookAnnotationProxyBase.h"

namespace QvFormat {

class CBookAnnotationImpl;

// The annotation lists of one file id: highlights and notes of any number, comments of any length.
// An application constructs it on an open CQvpFile, which must outlive it, and flushes the file to
// make changes durable. One thread at a time for the file and all its proxies.
//
// A list is an array of CBookAnnotationImpl, handed over as a pointer to its first element. One
// that GetAnnotationList stores is the caller's: element i is
// static_cast<CBookAnnotationImpl*>(list)[i], and the whole is released with delete[] of that
// pointer. SetAnnotationList copies; the array stays the caller's. A single annotation may be of
// any class.
//
//   IBookAnnotation* list = nullptr;
//   unsigned int count = 0;
//   if (proxy.GetAnnotationList(QvAnnotationRange, &list, &count) == QV_S_OK) {
//       std::unique_ptr<CBookAnnotationImpl[]> ranges(static_cast<CBookAnnotationImpl*>(list));
//       ...
//   }
//
// Reading: `count` may be null. An empty list is a success with a null list. Stored annotations
// that are damaged are passed over. QV_E_OUTOFMEMORY: no list is handed out.
// Writing: every annotation must be of the list's type, and its comment below 2 GiB.
class UMDFORMAT_API CBookAnnotationListProxy : public CBookAnnotationProxyBase {
public:
    // Works on the records of `fileId` in `file`; null: every operation gives QV_E_NOTREADY.
    CBookAnnotationListProxy(CQvpFile* file, unsigned int fileId);
    ~CBookAnnotationListProxy() override;

    // A new array to fill in and set; the caller releases it with delete[]. Null for a type that
    // does not exist, or without memory.
    static CBookAnnotationImpl* NewList(QvAnnotationType type, unsigned int count);

protected:
    QVRESULT ReadAnnotationList(QvpNodeType type, IBookAnnotation** list,
                                unsigned int* count) override;
    QVRESULT WriteAnnotationList(QvpNodeType type, IBookAnnotation* list,
                                 unsigned int count) override;
};

static_assert(sizeof(void*) != 4 || sizeof(CBookAnnotationListProxy) == 24);

} // namespace QvFormat
