#include "readingdata/CBookTagProxyImpl.h"

#include "readingdata/ItemArray.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

namespace {

bool IsStorable(const char* tag) {
    return tag && strnlen(tag, QvpFormat::kTagSlotSize) < QvpFormat::kTagSlotSize;
}

std::uint32_t StoreTag(const char* tag, unsigned char* slot, std::uint32_t room) {
    if (room < QvpFormat::kTagSlotSize)
        return 0;
    std::memcpy(slot, tag, std::strlen(tag) + 1);
    return QvpFormat::kTagSlotSize;
}

// Copies the tag in `*slot`, or passes over one without an end; false without memory.
bool AddTag(const unsigned char** slot, ItemArray<char*>* list) {
    const auto* tag = reinterpret_cast<const char*>(*slot);
    *slot += QvpFormat::kTagSlotSize;
    const std::size_t length = strnlen(tag, QvpFormat::kTagSlotSize);
    return length == QvpFormat::kTagSlotSize || list->Add(nullptr, tag, length);
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
    return ReplaceRecords(m_pFile, QvpNodeTagList, m_nFileId, &m_pList, tags, count, StoreTag,
                          [this](const char*) { return CreateQvpNode(); });
}

QVRESULT CBookTagProxyImpl::GetTagList(char*** tags, unsigned int* count) {
    const QVRESULT refused = CheckProxy(m_pFile, tags);
    if (refused != QV_S_OK)
        return refused;
    if (!m_pList && !AttachDataNode())
        return QV_E_FAIL;
    ItemArray<char*> list(CountEntries(m_pList, QvpNodeTagList, QvpFormat::kTagSlotSize));
    const auto add = [&list](const unsigned char** slot, const void*) {
        return AddTag(slot, &list);
    };
    if (!list.IsValid() || !ForEachEntry(m_pList, QvpNodeTagList, add))
        return QV_E_OUTOFMEMORY;
    *tags = list.Release(count);
    return QV_S_OK;
}

} // namespace QvFormat
