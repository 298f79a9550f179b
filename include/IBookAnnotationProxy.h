#pragma once

#include "QvAnnotationType.h"
#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

class IBookAnnotation;

// The annotation lists of one book, one per annotation type. One thread at a time for the proxy and
// the container it works on, which must outlive it. The order of the operations is that of their
// virtual slots. How a list is handed over is said by the implementation,
// CBookAnnotationListProxy.
class UMDFORMAT_API IBookAnnotationProxy {
public:
    virtual ~IBookAnnotationProxy();

    // Stores a new list in `*list` and the number of its annotations in `*count`.
    // QV_E_NOTREADY: no container. QV_E_INVALIDARG: null `list`, or no such type.
    // QV_E_FAIL: the file has no record of this list. `*list` is null on every failure past these.
    virtual QVRESULT GetAnnotationList(QvAnnotationType type, IBookAnnotation** list,
                                       unsigned int* count) = 0;

    // Replaces the whole list; nothing is kept of the arguments. `list` may be null for a count of
    // 0. QV_E_NOTREADY: no container. QV_E_INVALIDARG: null, no such type, or an annotation that
    // cannot be stored; nothing changes. QV_E_FAIL: a record could not be made; the annotations
    // before it stay.
    virtual QVRESULT SetAnnotationList(QvAnnotationType type, IBookAnnotation* list,
                                       unsigned int count) = 0;
};

} // namespace QvFormat
