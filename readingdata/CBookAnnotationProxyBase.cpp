#include "readingdata/CBookAnnotationProxyBase.h"

#include "readingdata/CQvpFile.h"

namespace QvFormat {

CBookAnnotationProxyBase::CBookAnnotationProxyBase(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookAnnotationProxyBase::~CBookAnnotationProxyBase() = default;

QvpNodeType CBookAnnotationProxyBase::RecordTypeOf(QvAnnotationType type) {
    switch (type) {
    case QvAnnotationPosition:
        return QvpNodePositionAnnotations;
    case QvAnnotationRange:
        return QvpNodeRangeAnnotations;
    case QvAnnotationComment:
        return QvpNodeCommentAnnotations;
    }
    return QvpNodeFree;
}

Qvp_Node*& CBookAnnotationProxyBase::ListOf(QvpNodeType type) {
    if (type == QvpNodePositionAnnotations)
        return m_pPositionList;
    return type == QvpNodeRangeAnnotations ? m_pRangeList : m_pCommentList;
}

QVRESULT CBookAnnotationProxyBase::AttachList(QvpNodeType type) {
    return m_pFile->AttachNodeList(type, m_nFileId, &ListOf(type));
}

int CBookAnnotationProxyBase::AttachDataNode(QvAnnotationType type) {
    const QvpNodeType recordType = RecordTypeOf(type);
    if (recordType == QvpNodeFree || AttachList(recordType) != QV_S_OK)
        return 0;
    const Qvp_Node* first = ListOf(recordType);
    return first && first->nType == recordType && first->nId == m_nFileId;
}

QVRESULT CBookAnnotationProxyBase::GetAnnotationList(QvAnnotationType type, IBookAnnotation** list,
                                                     unsigned int* count) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!list)
        return QV_E_INVALIDARG;
    *list = nullptr;
    const QvpNodeType recordType = RecordTypeOf(type);
    if (recordType == QvpNodeFree)
        return QV_E_INVALIDARG;
    if (!ListOf(recordType) && !AttachDataNode(type))
        return QV_E_FAIL;
    return ReadAnnotationList(recordType, list, count);
}

QVRESULT CBookAnnotationProxyBase::SetAnnotationList(QvAnnotationType type, IBookAnnotation* list,
                                                     unsigned int count) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!list && count != 0)
        return QV_E_INVALIDARG;
    const QvpNodeType recordType = RecordTypeOf(type);
    if (recordType == QvpNodeFree)
        return QV_E_INVALIDARG;
    if (!ListOf(recordType) && AttachList(recordType) == QV_E_OUTOFMEMORY)
        return QV_E_FAIL;
    return WriteAnnotationList(recordType, list, count);
}

} // namespace QvFormat
