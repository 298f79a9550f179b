#pragma once

#include "IBookAnnotationProxy.h"
#include "QvpNodeType.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

class CQvpFile;

// Finds the record list of each annotation type for one file id in a container, which must outlive
// the proxy and is used by the same thread. How annotations lie in the records is the derived
// class's.
class UMDFORMAT_API CBookAnnotationProxyBase : public IBookAnnotationProxy {
public:
    // Works on the records of `fileId` in `file`; null: every operation gives QV_E_NOTREADY.
    CBookAnnotationProxyBase(CQvpFile* file, unsigned int fileId);
    ~CBookAnnotationProxyBase() override;

    // `count` is handed on as it comes.
    QVRESULT GetAnnotationList(QvAnnotationType type, IBookAnnotation** list,
                               unsigned int* count) override;
    QVRESULT SetAnnotationList(QvAnnotationType type, IBookAnnotation* list,
                               unsigned int count) override;

protected:
    // Decodes the records of a list that has been attached and is not empty; `*list` is null.
    virtual QVRESULT ReadAnnotationList(QvpNodeType type, IBookAnnotation** list,
                                        unsigned int* count) = 0;
    // Encodes into the records of a list that has been attached, and further ones.
    virtual QVRESULT WriteAnnotationList(QvpNodeType type, IBookAnnotation* list,
                                         unsigned int count) = 0;

    // Asks the container for a list; 1 when it has records and the first is in use, else 0.
    int AttachDataNode(QvAnnotationType type);
    // The record type that holds annotations of a type; QvpNodeFree for no such type.
    UMDFORMAT_HIDDEN static QvpNodeType RecordTypeOf(QvAnnotationType type);
    // The field for the list of a record type from 5 to 7.
    UMDFORMAT_HIDDEN Qvp_Node*& ListOf(QvpNodeType type);

    CQvpFile* m_pFile;
    unsigned int m_nFileId;
    Qvp_Node* m_pPositionList = nullptr; // the lists are the container's
    Qvp_Node* m_pRangeList = nullptr;
    Qvp_Node* m_pCommentList = nullptr;
};

static_assert(sizeof(void*) != 4 || sizeof(CBookAnnotationProxyBase) == 24);

} // namespace QvFormat
