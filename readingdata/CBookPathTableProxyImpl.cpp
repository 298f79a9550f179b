#include "readingdata/CBookPathTableProxyImpl.h"

#include "readingdata/ItemArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

constexpr std::uint32_t kLeastItemSize = QvpFormat::kPathValuesSize + 1; // with an empty path

bool IsStorable(const QvpPathItem& item) {
    return item.pszPath &&
           strnlen(item.pszPath, QvpFormat::kMaxPathLength + 1) <= QvpFormat::kMaxPathLength;
}

std::uint32_t StoreItem(const QvpPathItem& item, unsigned char* entry, std::uint32_t room) {
    const std::size_t pathSize = std::strlen(item.pszPath) + 1;
    if (QvpFormat::kPathValuesSize + pathSize > room)
        return 0;
    StoreLE32(entry, item.nValue0);
    StoreLE32(entry + 4, item.nValue1);
    std::memcpy(entry + QvpFormat::kPathValuesSize, item.pszPath, pathSize);
    return QvpFormat::kPathValuesSize + static_cast<std::uint32_t>(pathSize);
}

// Copies the item at `*entry`; false when it is damaged or memory runs out.
bool AddItem(const unsigned char** entry, const unsigned char* end, ItemArray<QvpPathItem>* list) {
    if (end - *entry < std::ptrdiff_t{kLeastItemSize})
        return false;
    const QvpPathItem item = {LoadLE32(*entry), LoadLE32(*entry + 4), nullptr};
    const auto* path = reinterpret_cast<const char*>(*entry + QvpFormat::kPathValuesSize);
    const auto room = static_cast<std::size_t>(reinterpret_cast<const char*>(end) - path);
    const std::size_t length = strnlen(path, room);
    if (length == room)
        return false;
    *entry += QvpFormat::kPathValuesSize + length + 1;
    return list->Add(item, path, length);
}

// Adds up the counts as they stand. False when a record cannot hold what it says, so that no count
// makes the result larger than the file.
bool CountItems(Qvp_Node* list, std::uint64_t* total) {
    bool isSound = true;
    for (const Qvp_Node* node = list; node; node = node->pNext) {
        if (node->nType != QvpNodePathTable)
            continue;
        const std::uint32_t held =
            node->nLength < QvpFormat::kCountSize ? 0 : LoadLE32(node->pData);
        *total += held;
        isSound = isSound && node->nLength > QvpFormat::kCountSize &&
                  held <= RecordCapacity(node->nLength, kLeastItemSize);
    }
    return isSound;
}

} // namespace

CBookPathTableProxyImpl::CBookPathTableProxyImpl(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookPathTableProxyImpl::~CBookPathTableProxyImpl() = default;

int CBookPathTableProxyImpl::AttachDataNode() {
    return m_pFile->AttachNodeList(QvpNodePathTable, m_nFileId, &m_pList) == QV_S_OK && m_pList;
}

Qvp_Node* CBookPathTableProxyImpl::CreateQvpNode() {
    return NewQvpNode(QvpNodePathTable, m_nFileId, QvpFormat::kPathRecordLength).release();
}

QVRESULT CBookPathTableProxyImpl::SetPathTable(QvpPathItem* items, unsigned int count) {
    const QVRESULT refused = CheckProxy(m_pFile, AreStorable(items, count, IsStorable));
    if (refused != QV_S_OK)
        return refused;
    return ReplaceRecords(m_pFile, QvpNodePathTable, m_nFileId, &m_pList, items, count, StoreItem,
                          [this](const QvpPathItem&) { return CreateQvpNode(); });
}

QVRESULT CBookPathTableProxyImpl::GetPathTable(QvpPathItem** items, unsigned int* count) {
    const QVRESULT refused = CheckProxy(m_pFile, items);
    if (refused != QV_S_OK)
        return refused;
    if (!m_pList && !AttachDataNode())
        return QV_E_FAIL;
    std::uint64_t total = 0;
    if (!CountItems(m_pList, &total) && total != 0)
        return QV_E_FAIL;
    ItemArray<QvpPathItem> list(static_cast<std::size_t>(total));
    if (!list.IsValid())
        return QV_E_OUTOFMEMORY;
    const auto add = [&list](const unsigned char** entry, const unsigned char* end) {
        return AddItem(entry, end, &list);
    };
    if (!ForEachEntry(m_pList, QvpNodePathTable, add))
        return QV_E_FAIL;
    *items = list.Release(count);
    return QV_S_OK;
}

} // namespace QvFormat
