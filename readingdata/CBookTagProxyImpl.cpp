#include "readingdata/CBookTagProxyImpl.h"

#include <algorithm>

#include "readingdata/ItemArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

unsigned char* SlotAt(unsigned char* data, std::uint32_t i) {
    return data + QvpFormat::kCountSize + std::size_t{QvpFormat::kTagSlotSize} * i;
}

bool IsStorable(const char* tag) {
    return tag && strnlen(tag, QvpFormat::kTagSlotSize) < QvpFormat::kTagSlotSize;
}

struct TagEntries : Entries<char*> {
    std::uint32_t Fill(unsigned char* data, std::uint32_t length) {
        const std::uint32_t count =
            std::min(nLeft, RecordCapacity(length, QvpFormat::kTagSlotSize));
        for (std::uint32_t i = 0; i < count; ++i, ++pNext)
            // NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker): no storable tag is null
            std::memcpy(SlotAt(data, i), *pNext, std::strlen(*pNext) + 1);
        nLeft -= count;
        return count;
    }
};

// Copies the tags of a record, passing over those without an end; false without memory.
bool AddTags(Qvp_Node* node, ItemArray<char*>* list) {
    const std::uint32_t held = LoadLE32(node->pData);
    for (std::uint32_t i = 0; i < held; ++i) {
        const auto* slot = reinterpret_cast<const char*>(SlotAt(node->pData, i));
        const std::size_t length = strnlen(slot, QvpFormat::kTagSlotSize);
        if (length < QvpFormat::kTagSlotSize && !list->Add(nullptr, slot, length))
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
    return NewQvpNode(QvpNodeTagList, m_nFileId, QvpFormat::kTagRecordLength).release();
}

QVRESULT CBookTagProxyImpl::SetTagList(char** tags, unsigned int count) {
    const QVRESULT refused = CheckProxy(m_pFile, AreStorable(tags, count, IsStorable));
    if (refused != QV_S_OK)
        return refused;
    TagEntries remaining{{tags, count}};
    return ReplaceRecords(m_pFile, QvpNodeTagList, m_nFileId, &m_pList, &remaining,
                          [this] { return CreateQvpNode(); });
}

QVRESULT CBookTagProxyImpl::GetTagList(char*** tags, unsigned int* count) {
    const QVRESULT refused = CheckProxy(m_pFile, tags);
    if (refused != QV_S_OK)
        return refused;
    if (!m_pList && !AttachDataNode())
        return QV_E_FAIL;
    ItemArray<char*> list(CountEntries(m_pList, QvpNodeTagList, QvpFormat::kTagSlotSize));
    if (!list.IsValid() || !ForEachInUse(m_pList, QvpNodeTagList,
                                         [&list](Qvp_Node* node) { return AddTags(node, &list); }))
        return QV_E_OUTOFMEMORY;
    *tags = list.Release(count);
    return QV_S_OK;
}

} // namespace QvFormat
