#include "readingdata/CBookAnnotationProxyBase.h"

#include "readingdata/QvpRecordList.h"

namespace QvFormat {

CBookAnnotationProxyBase::CBookAnnotationProxyBase(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookAnnotationProxyBase::~CBookAnnotationProxyBase() = default;

QvpNodeType CBookAnnotationProxyBase::RecordTypeOf(QvAnnotationType type) {
    if (type < QvAnnotationPosition || type > QvAnnotationComment)
        return QvpNodeFree;
    return static_cast<QvpNodeType>(QvpNodePositionAnnotations + type);
}

Qvp_Node*& CBookAnnotationProxyBase::ListOf(QvpNodeType type) {
    if (type == QvpNodePositionAnnotations)
        return m_pPositionList;
    return type == QvpNodeRangeAnnotations ? m_pRangeList : m_pCommentList;
}

int CBookAnnotationProxyBase::AttachDataNode(QvAnnotationType type) {
    const QvpNodeType recordType = RecordTypeOf(type);
    if (recordType == QvpNodeFree ||
        m_pFile->AttachNodeList(recordType, m_nFileId, &ListOf(recordType)) != QV_S_OK)
        return 0;
    const Qvp_Node* first = ListOf(recordType);
    return first && first->nType == recordType && first->nId == m_nFileId;
}

QVRESULT CBookAnnotationProxyBase::GetAnnotationList(QvAnnotationType type, IBookAnnotation** list,
                                                     unsigned int* count) {
    const QVRESULT refused = CheckProxy(m_pFile, list);
    if (refused != QV_S_OK)
        return refused;
    const QvpNodeType recordType = RecordTypeOf(type);
    if (recordType == QvpNodeFree)
        return QV_E_INVALIDARG;
    if (!ListOf(recordType) && !AttachDataNode(type))
        return QV_E_FAIL;
    return ReadAnnotationList(recordType, list, count);
}

QVRESULT CBookAnnotationProxyBase::SetAnnotationList(QvAnnotationType type, IBookAnnotation* list,
                                                     unsigned int count) {
    const QvpNodeType recordType = RecordTypeOf(type);
    const QVRESULT refused = CheckProxy(m_pFile, (list || count == 0) && recordType != QvpNodeFree);
    if (refused != QV_S_OK)
        return refused;
    if (!AttachForWriting(m_pFile, recordType, m_nFileId, &ListOf(recordType)))
        return QV_E_FAIL;
    return WriteAnnotationList(recordType, list, count);
}

} // namespace QvFormat
