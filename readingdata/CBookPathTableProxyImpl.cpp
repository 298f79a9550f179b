#include "readingdata/CBookPathTableProxyImpl.h"

#include "base/ByteReader.h"
#include "readingdata/NewArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

constexpr std::uint32_t LeastItemSize = QvpFormat::PathValuesSize + 1; // with an empty path

bool IsStorable(const QvpPathItem& item) {
    return item.pszPath &&
           strnlen(item.pszPath, QvpFormat::MaxPathLength + 1) <= QvpFormat::MaxPathLength;
}

bool AreStorable(const QvpPathItem* items, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
        if (!items || !IsStorable(items[i]))
            return false;
    }
    return true;
}

class PathEntries {
public:
    PathEntries(const QvpPathItem* items, unsigned int count) : m_pNext(items), m_nLeft(count) {}

    bool Done() const { return m_nLeft == 0; }

    std::uint32_t Fill(unsigned char* data, std::uint32_t length) {
        std::uint32_t position = QvpFormat::CountSize;
        std::uint32_t count = 0;
        for (; m_nLeft != 0; ++count, ++m_pNext, --m_nLeft) {
            const std::size_t pathSize = std::strlen(m_pNext->pszPath) + 1;
            if (QvpFormat::PathValuesSize + pathSize > length - position)
                break;
            StoreLE32(data + position, m_pNext->nValue0);
            StoreLE32(data + position + 4, m_pNext->nValue1);
            position += QvpFormat::PathValuesSize;
            std::memcpy(data + position, m_pNext->pszPath, pathSize);
            position += static_cast<std::uint32_t>(pathSize);
        }
        return count;
    }

private:
    const QvpPathItem* m_pNext;
    std::uint32_t m_nLeft;
};

// Items that are released together with their paths until they are handed out.
class PathArray {
public:
    explicit PathArray(std::size_t capacity) : m_pItems(NewArray<QvpPathItem>(capacity)) {}
    PathArray(const PathArray&) = delete;
    PathArray& operator=(const PathArray&) = delete;
    ~PathArray() {
        for (std::uint32_t i = 0; m_pItems && i < m_nCount; ++i)
            delete[] m_pItems[i].pszPath;
    }

    bool IsValid() const { return m_pItems != nullptr; }
    std::uint32_t Count() const { return m_nCount; }
    QvpPathItem* Release() { return m_pItems.release(); }

    // Copies the items of a record; false when one is damaged or memory runs out.
    bool AddRecord(const Qvp_Node* node) {
        ByteReader reader(node->pData, node->nLength);
        std::uint32_t held = 0;
        if (!reader.ReadU32(&held))
            return false;
        for (; held != 0; --held) {
            if (!AddItem(node, &reader))
                return false;
        }
        return true;
    }

private:
    bool AddItem(const Qvp_Node* node, ByteReader* reader) {
        QvpPathItem item = {};
        if (!reader->ReadU32(&item.nValue0) || !reader->ReadU32(&item.nValue1))
            return false;
        const auto* path = reinterpret_cast<const char*>(node->pData + reader->Position());
        const std::size_t length = strnlen(path, reader->Remaining());
        if (!reader->Skip(length + 1))
            return false;
        item.pszPath = CopyString(path, length).release();
        if (!item.pszPath)
            return false;
        m_pItems[m_nCount++] = item;
        return true;
    }

    std::unique_ptr<QvpPathItem[]> m_pItems;
    std::uint32_t m_nCount = 0;
};

// Adds up the counts as they stand. False when a record cannot hold what it says, so that no count
// makes the result larger than the file.
bool CountItems(Qvp_Node* list, std::uint64_t* total) {
    bool bSound = true;
    for (const Qvp_Node* node = list; node; node = node->pNext) {
        if (node->nType != QvpNodePathTable)
            continue;
        const std::uint32_t held = node->nLength < QvpFormat::CountSize ? 0 : LoadLE32(node->pData);
        *total += held;
        bSound = bSound && node->nLength > QvpFormat::CountSize &&
                 held <= RecordCapacity(node->nLength, LeastItemSize);
    }
    return bSound;
}

} // namespace

CBookPathTableProxyImpl::CBookPathTableProxyImpl(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookPathTableProxyImpl::~CBookPathTableProxyImpl() = default;

QVRESULT CBookPathTableProxyImpl::AttachList() {
    return m_pFile->AttachNodeList(QvpNodePathTable, m_nFileId, &m_pList);
}

int CBookPathTableProxyImpl::AttachDataNode() {
    return AttachList() == QV_S_OK && m_pList;
}

Qvp_Node* CBookPathTableProxyImpl::CreateQvpNode() {
    return NewQvpNode(QvpNodePathTable, m_nFileId, QvpFormat::PathRecordLength).release();
}

QVRESULT CBookPathTableProxyImpl::SetPathTable(QvpPathItem* items, unsigned int count) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!AreStorable(items, count))
        return QV_E_INVALIDARG;
    if (!m_pList && AttachList() == QV_E_OUTOFMEMORY)
        return QV_E_FAIL;
    PathEntries remaining(items, count);
    return ReplaceRecords(m_pFile, QvpNodePathTable, m_pList, &remaining,
                          [this] { return CreateQvpNode(); });
}

QVRESULT CBookPathTableProxyImpl::GetPathTable(QvpPathItem** items, unsigned int* count) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!items)
        return QV_E_INVALIDARG;
    *items = nullptr;
    if (!m_pList && !AttachDataNode())
        return QV_E_FAIL;
    std::uint64_t total = 0;
    const bool bSound = CountItems(m_pList, &total);
    if (total == 0) {
        if (count)
            *count = 0;
        return QV_S_OK;
    }
    if (!bSound)
        return QV_E_FAIL;
    PathArray list(static_cast<std::size_t>(total));
    if (!list.IsValid())
        return QV_E_OUTOFMEMORY;
    for (const Qvp_Node* node = m_pList; node; node = node->pNext) {
        if (node->nType == QvpNodePathTable && !list.AddRecord(node))
            return QV_E_FAIL;
    }
    if (count)
        *count = list.Count();
    *items = list.Release();
    return QV_S_OK;
}

} // namespace QvFormat
