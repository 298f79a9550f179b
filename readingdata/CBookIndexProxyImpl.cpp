#include "readingdata/CBookIndexProxyImpl.h"

#include "base/OwnedArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

std::uint32_t StoreEntry(int entry, unsigned char* bytes, std::uint32_t room) {
    if (room < QvpFormat::kIndexEntrySize)
        return 0;
    StoreLE32(bytes, static_cast<std::uint32_t>(entry));
    return QvpFormat::kIndexEntrySize;
}

} // namespace

CBookIndexProxyImpl::CBookIndexProxyImpl(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookIndexProxyImpl::~CBookIndexProxyImpl() = default;

int CBookIndexProxyImpl::AttachDataNode() {
    return m_pFile->AttachNodeList(QvpNodeIndexList, m_nFileId, &m_pList) == QV_S_OK && m_pList;
}

Qvp_Node* CBookIndexProxyImpl::CreateQvpNode() {
    return NewQvpNode(QvpNodeIndexList, m_nFileId, QvpFormat::kIndexRecordLength).release();
}

QVRESULT CBookIndexProxyImpl::SetIndexList(int* entries, unsigned int count) {
    const QVRESULT refused = CheckProxy(m_pFile, entries || count == 0);
    if (refused != QV_S_OK)
        return refused;
    return ReplaceRecords(m_pFile, QvpNodeIndexList, m_nFileId, &m_pList, entries, count,
                          StoreEntry, [this](int) { return CreateQvpNode(); });
}

QVRESULT CBookIndexProxyImpl::GetIndexList(int** entries, unsigned int* count) {
    const QVRESULT refused = CheckProxy(m_pFile, entries);
    if (refused != QV_S_OK)
        return refused;
    if (!m_pList && !AttachDataNode())
        return QV_E_FAIL;
    const std::uint32_t total = CountEntries(m_pList, QvpNodeIndexList, QvpFormat::kIndexEntrySize);
    if (count)
        *count = total;
    if (total == 0)
        return QV_S_OK;
    OwnedArray<int> list = NewArray<int>(total);
    if (!list)
        return QV_E_OUTOFMEMORY;
    int* next = list.get();
    ForEachEntry(m_pList, QvpNodeIndexList, [&next](const unsigned char** entry, const void*) {
        *next++ = static_cast<int>(LoadLE32(*entry));
        *entry += QvpFormat::kIndexEntrySize;
        return true;
    });
    *entries = list.release();
    return QV_S_OK;
}

} // namespace QvFormat
