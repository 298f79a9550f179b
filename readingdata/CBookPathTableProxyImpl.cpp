#include "readingdata/CBookPathTableProxyImpl.h"

#include "base/ByteReader.h"
#include "readingdata/ItemArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

constexpr std::uint32_t kLeastItemSize = QvpFormat::kPathValuesSize + 1; // with an empty path

bool IsStorable(const QvpPathItem& item) {
    return item.pszPath &&
           strnlen(item.pszPath, QvpFormat::kMaxPathLength + 1) <= QvpFormat::kMaxPathLength;
}

struct PathEntries : Entries<QvpPathItem> {
    std::uint32_t Fill(unsigned char* data, std::uint32_t length) {
        std::uint32_t position = QvpFormat::kCountSize;
        std::uint32_t count = 0;
        for (; nLeft != 0; ++count, ++pNext, --nLeft) {
            const std::size_t pathSize = std::strlen(pNext->pszPath) + 1;
            if (QvpFormat::kPathValuesSize + pathSize > length - position)
                break;
            StoreLE32(data + position, pNext->nValue0);
            StoreLE32(data + position + 4, pNext->nValue1);
            position += QvpFormat::kPathValuesSize;
            std::memcpy(data + position, pNext->pszPath, pathSize);
            position += static_cast<std::uint32_t>(pathSize);
        }
        return count;
    }
};

// Copies the next item of a record; false when it is damaged or memory runs out.
bool AddPath(const Qvp_Node* node, ByteReader* reader, ItemArray<QvpPathItem>* list) {
    QvpPathItem item = {};
    if (!reader->ReadU32(&item.nValue0) || !reader->ReadU32(&item.nValue1))
        return false;
    const auto* path = reinterpret_cast<const char*>(node->pData + reader->Position());
    const std::size_t length = strnlen(path, reader->Remaining());
    return reader->Skip(length + 1) && list->Add(item, path, length);
}

bool AddPaths(const Qvp_Node* node, ItemArray<QvpPathItem>* list) {
    ByteReader reader(node->pData, node->nLength);
    std::uint32_t left = 0;
    reader.ReadU32(&left);
    while (left != 0 && AddPath(node, &reader, list))
        --left;
    return left == 0;
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
    PathEntries remaining{{items, count}};
    return ReplaceRecords(m_pFile, QvpNodePathTable, m_nFileId, &m_pList, &remaining,
                          [this] { return CreateQvpNode(); });
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
    if (!ForEachInUse(m_pList, QvpNodePathTable,
                      [&list](const Qvp_Node* node) { return AddPaths(node, &list); }))
        return QV_E_FAIL;
    *items = list.Release(count);
    return QV_S_OK;
}

} // namespace QvFormat
