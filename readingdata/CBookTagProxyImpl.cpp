#include "readingdata/CBookTagProxyImpl.h"

#include <algorithm>

#include "readingdata/ItemArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

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
        const std::uint32_t count =
            std::min(m_nLeft, RecordCapacity(length, QvpFormat::TagSlotSize));
        for (std::uint32_t i = 0; i < count; ++i, ++m_pNext)
            std::memcpy(SlotAt(data, i), *m_pNext, std::strlen(*m_pNext) + 1);
        m_nLeft -= count;
        return count;
    }

private:
    char* const* m_pNext;
    std::uint32_t m_nLeft;
};

// Copies the tags of a record, passing over those without an end; false without memory.
bool AddTags(Qvp_Node* node, ItemArray<char*>* list) {
    const std::uint32_t held = LoadLE32(node->pData);
    for (std::uint32_t i = 0; i < held; ++i) {
        const auto* slot = reinterpret_cast<const char*>(SlotAt(node->pData, i));
        const std::size_t length = strnlen(slot, QvpFormat::TagSlotSize);
        if (length < QvpFormat::TagSlotSize && !list->Add(nullptr, slot, length))
            return false;
    }
    return true;
}

} // namespace

CBookTagProxyImpl::CBookTagProxyImpl(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookTagProxyImpl::~CBookTagProxyImpl() = default;

int CBookTagProxyImpl::AttachDataNode() {
    return m_pFile->AttachNodeList(QvpNodeTagList, m_nFileId, &m_pList) == QV_S_OK && m_pList;
}

Qvp_Node* CBookTagProxyImpl::CreateQvpNode() {
    return NewQvpNode(QvpNodeTagList, m_nFileId, QvpFormat::TagRecordLength).release();
}

QVRESULT CBookTagProxyImpl::SetTagList(char** tags, unsigned int count) {
    const QVRESULT refused = CheckProxy(m_pFile, AreStorable(tags, count));
    if (refused != QV_S_OK)
        return refused;
    TagEntries remaining(tags, count);
    return ReplaceRecords(m_pFile, QvpNodeTagList, m_nFileId, &m_pList, &remaining,
                          [this] { return CreateQvpNode(); });
}

QVRESULT CBookTagProxyImpl::GetTagList(char*** tags, unsigned int* count) {
    const QVRESULT refused = CheckProxy(m_pFile, tags);
    if (refused != QV_S_OK)
        return refused;
    *tags = nullptr;
    if (!m_pList && !AttachDataNode())
        return QV_E_FAIL;
    const std::uint32_t total = CountEntries(m_pList, QvpNodeTagList, QvpFormat::TagSlotSize);
    if (count && total == 0)
        *count = 0;
    if (total == 0)
        return QV_S_OK;
    ItemArray<char*> list(total);
    if (!list.IsValid() || !ForEachInUse(m_pList, QvpNodeTagList,
                                         [&list](Qvp_Node* node) { return AddTags(node, &list); }))
        return QV_E_OUTOFMEMORY;
    *tags = list.Release(count);
    return QV_S_OK;
}

} // namespace QvFormat
