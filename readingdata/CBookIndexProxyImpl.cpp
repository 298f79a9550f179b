#include "readingdata/CBookIndexProxyImpl.h"

#include <algorithm>

#include "readingdata/NewArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

std::uint32_t Capacity(std::uint32_t length) {
    return RecordCapacity(length, QvpFormat::IndexEntrySize);
}

const unsigned char* EntryAt(const unsigned char* data, std::uint32_t i) {
    return data + QvpFormat::CountSize + std::size_t{QvpFormat::IndexEntrySize} * i;
}

class IndexEntries {
public:
    IndexEntries(const int* entries, unsigned int count) : m_pNext(entries), m_nLeft(count) {}

    bool Done() const { return m_nLeft == 0; }

    std::uint32_t Fill(unsigned char* data, std::uint32_t length) {
        const std::uint32_t count = std::min(m_nLeft, Capacity(length));
        unsigned char* entry = data + QvpFormat::CountSize;
        for (std::uint32_t i = 0; i < count; ++i, entry += QvpFormat::IndexEntrySize)
            StoreLE32(entry, static_cast<std::uint32_t>(*m_pNext++));
        m_nLeft -= count;
        return count;
    }

private:
    const int* m_pNext;
    std::uint32_t m_nLeft;
};

} // namespace

CBookIndexProxyImpl::CBookIndexProxyImpl(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookIndexProxyImpl::~CBookIndexProxyImpl() = default;

QVRESULT CBookIndexProxyImpl::AttachList() {
    return m_pFile->AttachNodeList(QvpNodeIndexList, m_nFileId, &m_pList);
}

int CBookIndexProxyImpl::AttachDataNode() {
    return AttachList() == QV_S_OK && m_pList;
}

Qvp_Node* CBookIndexProxyImpl::CreateQvpNode() {
    return NewQvpNode(QvpNodeIndexList, m_nFileId, QvpFormat::IndexRecordLength).release();
}

QVRESULT CBookIndexProxyImpl::SetIndexList(int* entries, unsigned int count) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!entries && count != 0)
        return QV_E_INVALIDARG;
    if (!m_pList && AttachList() == QV_E_OUTOFMEMORY)
        return QV_E_FAIL;
    IndexEntries remaining(entries, count);
    return ReplaceRecords(m_pFile, QvpNodeIndexList, m_pList, &remaining,
                          [this] { return CreateQvpNode(); });
}

QVRESULT CBookIndexProxyImpl::GetIndexList(int** entries, unsigned int* count) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!entries)
        return QV_E_INVALIDARG;
    *entries = nullptr;
    if (!m_pList && !AttachDataNode())
        return QV_E_FAIL;
    const auto first = [](Qvp_Node* node) { return FirstInUse(node, QvpNodeIndexList); };

    std::uint32_t total = 0;
    for (Qvp_Node* node = first(m_pList); node; node = first(node->pNext))
        total += BoundedCount(node, Capacity(node->nLength));
    if (count)
        *count = total;
    if (total == 0)
        return QV_S_OK;
    std::unique_ptr<int[]> list = NewArray<int>(total);
    if (!list)
        return QV_E_OUTOFMEMORY;
    int* next = list.get();
    for (Qvp_Node* node = first(m_pList); node; node = first(node->pNext)) {
        const std::uint32_t held = LoadLE32(node->pData);
        for (std::uint32_t i = 0; i < held; ++i)
            *next++ = static_cast<int>(LoadLE32(EntryAt(node->pData, i)));
    }
    *entries = list.release();
    return QV_S_OK;
}

} // namespace QvFormat
