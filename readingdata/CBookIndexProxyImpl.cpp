#include "readingdata/CBookIndexProxyImpl.h"

#include <algorithm>

#include "base/OwnedArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

unsigned char* EntryAt(unsigned char* data, std::uint32_t i) {
    return data + QvpFormat::kCountSize + std::size_t{QvpFormat::kIndexEntrySize} * i;
}

struct IndexEntries : Entries<int> {
    std::uint32_t Fill(unsigned char* data, std::uint32_t length) {
        const std::uint32_t count =
            std::min(nLeft, RecordCapacity(length, QvpFormat::kIndexEntrySize));
        for (std::uint32_t i = 0; i < count; ++i)
            StoreLE32(EntryAt(data, i), static_cast<std::uint32_t>(*pNext++));
        nLeft -= count;
        return count;
    }
};

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
    IndexEntries remaining{{entries, count}};
    return ReplaceRecords(m_pFile, QvpNodeIndexList, m_nFileId, &m_pList, &remaining,
                          [this] { return CreateQvpNode(); });
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
    ForEachInUse(m_pList, QvpNodeIndexList, [&next](const Qvp_Node* node) {
        const std::uint32_t held = LoadLE32(node->pData);
        for (std::uint32_t i = 0; i < held; ++i)
            *next++ = static_cast<int>(LoadLE32(EntryAt(node->pData, i)));
        return true;
    });
    *entries = list.release();
    return QV_S_OK;
}

} // namespace QvFormat
