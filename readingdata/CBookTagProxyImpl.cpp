#include "readingdata/CBookTagProxyImpl.h"

#include <algorithm>

#include "readingdata/NewArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

std::uint32_t Capacity(std::uint32_t length) {
    return RecordCapacity(length, QvpFormat::TagSlotSize);
}

unsigned char* SlotAt(unsigned char* data, std::uint32_t i) {
    return data + QvpFormat::CountSize + std::size_t{QvpFormat::TagSlotSize} * i;
}

bool IsStorable(const char* tag) {
    return tag && strnlen(tag, QvpFormat::TagSlotSize) < QvpFormat::TagSlotSize;
}

bool AreStorable(char* const* tags, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
        if (!tags || !IsStorable(tags[i]))
            return false;
    }
    return true;
}

class TagEntries {
public:
    TagEntries(char* const* tags, unsigned int count) : m_pNext(tags), m_nLeft(count) {}

    bool Done() const { return m_nLeft == 0; }

    std::uint32_t Fill(unsigned char* data, std::uint32_t length) {
        const std::uint32_t count = std::min(m_nLeft, Capacity(length));
        for (std::uint32_t i = 0; i < count; ++i, ++m_pNext)
            std::memcpy(SlotAt(data, i), *m_pNext, std::strlen(*m_pNext) + 1);
        m_nLeft -= count;
        return count;
    }

private:
    char* const* m_pNext;
    std::uint32_t m_nLeft;
};

// Strings that are released together with their array until they are handed out.
class TagArray {
public:
    explicit TagArray(std::size_t capacity) : m_pTags(NewArray<char*>(capacity)) {}
    TagArray(const TagArray&) = delete;
    TagArray& operator=(const TagArray&) = delete;
    ~TagArray() {
        for (std::uint32_t i = 0; m_pTags && i < m_nCount; ++i)
            delete[] m_pTags[i];
    }

    bool IsValid() const { return m_pTags != nullptr; }
    std::uint32_t Count() const { return m_nCount; }
    char** Release() { return m_pTags.release(); }

    // Copies the tags of a record, passing over those without an end; false without memory.
    bool AddRecord(Qvp_Node* node) {
        const std::uint32_t held = LoadLE32(node->pData);
        for (std::uint32_t i = 0; i < held; ++i) {
            const auto* slot = reinterpret_cast<const char*>(SlotAt(node->pData, i));
            const std::size_t length = strnlen(slot, QvpFormat::TagSlotSize);
            if (length == QvpFormat::TagSlotSize)
                continue;
            m_pTags[m_nCount] = CopyString(slot, length).release();
            if (!m_pTags[m_nCount])
                return false;
            ++m_nCount;
        }
        return true;
    }

private:
    std::unique_ptr<char*[]> m_pTags;
    std::uint32_t m_nCount = 0;
};

} // namespace

CBookTagProxyImpl::CBookTagProxyImpl(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookTagProxyImpl::~CBookTagProxyImpl() = default;

QVRESULT CBookTagProxyImpl::AttachList() {
    return m_pFile->AttachNodeList(QvpNodeTagList, m_nFileId, &m_pList);
}

int CBookTagProxyImpl::AttachDataNode() {
    return AttachList() == QV_S_OK && m_pList;
}

Qvp_Node* CBookTagProxyImpl::CreateQvpNode() {
    return NewQvpNode(QvpNodeTagList, m_nFileId, QvpFormat::TagRecordLength).release();
}

QVRESULT CBookTagProxyImpl::SetTagList(char** tags, unsigned int count) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!AreStorable(tags, count))
        return QV_E_INVALIDARG;
    if (!m_pList && AttachList() == QV_E_OUTOFMEMORY)
        return QV_E_FAIL;
    TagEntries remaining(tags, count);
    return ReplaceRecords(m_pFile, QvpNodeTagList, m_pList, &remaining,
                          [this] { return CreateQvpNode(); });
}

QVRESULT CBookTagProxyImpl::GetTagList(char*** tags, unsigned int* count) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!tags)
        return QV_E_INVALIDARG;
    *tags = nullptr;
    if (!m_pList && !AttachDataNode())
        return QV_E_FAIL;
    const auto first = [](Qvp_Node* node) { return FirstInUse(node, QvpNodeTagList); };

    std::uint32_t total = 0;
    for (Qvp_Node* node = first(m_pList); node; node = first(node->pNext))
        total += BoundedCount(node, Capacity(node->nLength));
    if (total == 0) {
        if (count)
            *count = 0;
        return QV_S_OK;
    }
    TagArray list(total);
    if (!list.IsValid())
        return QV_E_OUTOFMEMORY;
    for (Qvp_Node* node = first(m_pList); node; node = first(node->pNext)) {
        if (!list.AddRecord(node))
            return QV_E_OUTOFMEMORY;
    }
    if (count)
        *count = list.Count();
    *tags = list.Release();
    return QV_S_OK;
}

} // namespace QvFormat
