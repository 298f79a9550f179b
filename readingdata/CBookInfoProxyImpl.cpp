#include "readingdata/CBookInfoProxyImpl.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "base/ByteReader.h"
#include "base/OwnedArray.h"
#include "readingdata/CBookAnnotationHelper.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/QvpRecordList.h"

namespace QvFormat {

// In the order in which they follow each other.
const CBookInfoProxyImpl::Slot CBookInfoProxyImpl::kSlots[] = {
    {0, QvpFormat::kNameCapacity, &CBookInfoProxyImpl::m_nBookNameOffset},
    {0, QvpFormat::kNameCapacity, &CBookInfoProxyImpl::m_nAuthorNameOffset},
    {0, QvpFormat::kPathCapacity, &CBookInfoProxyImpl::m_nCoverPagePathOffset},
    {0, QvpFormat::kNameCapacity, &CBookInfoProxyImpl::m_nPublisherNameOffset},
    {0, QvpFormat::kISBNCapacity, &CBookInfoProxyImpl::m_nISBNOffset},
    {0, QvpFormat::kSummaryCapacity, &CBookInfoProxyImpl::m_nSummaryOffset},
    {QvpFormat::kBookSourceSize + QvpFormat::kReadingProgressSize, QvpFormat::kBookmarkCapacity,
     &CBookInfoProxyImpl::m_nReadingBookmarkOffset},
    {QvpFormat::kIsSerializedSize, QvpFormat::kPathCapacity,
     &CBookInfoProxyImpl::m_nLatestSectionOffset},
};

CBookInfoProxyImpl::CBookInfoProxyImpl(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookInfoProxyImpl::~CBookInfoProxyImpl() = default;

// --- finding the record -------------------------------------------------------------------------

int CBookInfoProxyImpl::AttachDataNode() {
    return m_pFile->AttachNodeList(QvpNodeBookInfo, m_nFileId, &m_pNode) == QV_S_OK &&
           ParseDataNode();
}

int CBookInfoProxyImpl::ParseDataNode() {
    if (!m_pNode || !m_pNode->pData || m_pNode->nLength == 0)
        return 0;
    const unsigned char* data = m_pNode->pData;
    const unsigned int length = std::min(m_pNode->nLength, INT_MAX - QvpFormat::kBookInfoLength);
    int position = 0;
    for (const Slot& slot : kSlots) {
        position += static_cast<int>(slot.gap);
        if (!ProcessRawBlock(data, length, &position, &(this->*slot.offset)))
            return 0;
    }
    m_nReadingProgressOffset = m_nReadingBookmarkOffset - QvpFormat::kReadingProgressSize;
    m_nBookSourceOffset = m_nReadingProgressOffset - QvpFormat::kBookSourceSize;
    m_nIsSerializedOffset = m_nLatestSectionOffset - QvpFormat::kIsSerializedSize;
    return 1;
}

int CBookInfoProxyImpl::ProcessRawBlock(unsigned char const* data, unsigned int length,
                                        int* position, unsigned int* slotOffset) {
    ByteReader reader(data, length);
    std::uint32_t capacity = 0;
    if (!reader.Skip(static_cast<unsigned int>(*position)) || !reader.ReadU32(&capacity) ||
        capacity == 0 || !reader.Skip(capacity))
        return 0;
    *slotOffset = static_cast<unsigned int>(*position);
    *position = static_cast<int>(reader.Position());
    return 1;
}

Qvp_Node* CBookInfoProxyImpl::CreateQvpNode() {
    QvpNodePtr node = NewQvpNode(QvpNodeBookInfo, m_nFileId, QvpFormat::kBookInfoLength);
    if (!node)
        return nullptr;
    unsigned char* field = node->pData;
    for (const Slot& slot : kSlots) {
        StoreLE32(field + slot.gap, slot.capacity);
        field += slot.gap + QvpFormat::kSlotHeaderSize + slot.capacity;
    }
    return node.release();
}

int CBookInfoProxyImpl::InitializeAttachedDataNode(int readOnly) {
    m_bParsed = AttachDataNode();
    if (m_bParsed || readOnly || m_pNode)
        return m_bParsed;
    if (!AttachForWriting(m_pFile, QvpNodeBookInfo, m_nFileId, &m_pNode) || m_pNode)
        return 0;
    QvpNodePtr node(CreateQvpNode());
    if (!node || m_pFile->AppendNodeList(node.get()) != QV_S_OK)
        return 0;
    m_pNode = node.release();
    m_bParsed = ParseDataNode();
    return m_bParsed;
}

QVRESULT CBookInfoProxyImpl::Prepare(QVRESULT refused, int readOnly) {
    if (refused != QV_S_OK)
        return refused;
    const int ready = m_pNode ? m_bParsed : InitializeAttachedDataNode(readOnly);
    return ready ? QV_S_OK : QV_E_FAIL;
}

// --- strings ------------------------------------------------------------------------------------

QVRESULT CBookInfoProxyImpl::GetString(Offset slot, char** out) {
    const QVRESULT result = Prepare(CheckProxy(m_pFile, out), 1);
    return result == QV_S_OK ? ReadData(this->*slot, out) : result;
}

QVRESULT CBookInfoProxyImpl::SetString(Offset slot, char const* text, unsigned int length) {
    const QVRESULT result = Prepare(CheckProxy(m_pFile, text != nullptr), 0);
    return result == QV_S_OK ? WriteData(this->*slot, text, length) : result;
}

QVRESULT CBookInfoProxyImpl::ReadData(unsigned int slotOffset, char** out) {
    const std::uint32_t capacity = LoadLE32(Field(slotOffset));
    const auto* text = reinterpret_cast<char*>(Field(slotOffset + QvpFormat::kSlotHeaderSize));
    const auto* end = static_cast<const char*>(std::memchr(text, 0, capacity));
    if (!end)
        return QV_E_FAIL;
    *out = CopyString(text, static_cast<std::size_t>(end - text)).release();
    return *out ? QV_S_OK : QV_E_OUTOFMEMORY;
}

QVRESULT CBookInfoProxyImpl::WriteData(unsigned int slotOffset, char const* text,
                                       unsigned int length) {
    if (LoadLE32(Field(slotOffset)) <= length)
        return QV_E_INVALIDARG;
    auto* slot = reinterpret_cast<char*>(Field(slotOffset + QvpFormat::kSlotHeaderSize));
    const std::size_t used = strnlen(text, length);
    std::memcpy(slot, text, used);
    std::memset(slot + used, 0, length - used + 1);
    m_pNode->bModified = 1;
    return QV_S_OK;
}

QVRESULT CBookInfoProxyImpl::GetBookName(char** name) {
    return GetString(&CBookInfoProxyImpl::m_nBookNameOffset, name);
}

QVRESULT CBookInfoProxyImpl::GetAuthorName(char** name) {
    return GetString(&CBookInfoProxyImpl::m_nAuthorNameOffset, name);
}

QVRESULT CBookInfoProxyImpl::GetCoverPagePath(char** path) {
    return GetString(&CBookInfoProxyImpl::m_nCoverPagePathOffset, path);
}

QVRESULT CBookInfoProxyImpl::GetPublisherName(char** name) {
    return GetString(&CBookInfoProxyImpl::m_nPublisherNameOffset, name);
}

QVRESULT CBookInfoProxyImpl::GetISBN(char** isbn) {
    return GetString(&CBookInfoProxyImpl::m_nISBNOffset, isbn);
}

QVRESULT CBookInfoProxyImpl::GetSummary(char** summary) {
    return GetString(&CBookInfoProxyImpl::m_nSummaryOffset, summary);
}

QVRESULT CBookInfoProxyImpl::GetLatestSection(char** section) {
    const QVRESULT result = Prepare(CheckProxy(m_pFile, section), 1);
    if (result != QV_S_OK)
        return result;
    const bool isSerialized = *Field(m_nIsSerializedOffset) != 0;
    return isSerialized ? ReadData(m_nLatestSectionOffset, section) : QV_E_FAIL;
}

QVRESULT CBookInfoProxyImpl::SetBookName(char const* name, unsigned int length) {
    return SetString(&CBookInfoProxyImpl::m_nBookNameOffset, name, length);
}

QVRESULT CBookInfoProxyImpl::SetAuthorName(char const* name, unsigned int length) {
    return SetString(&CBookInfoProxyImpl::m_nAuthorNameOffset, name, length);
}

QVRESULT CBookInfoProxyImpl::SetCoverPagePath(char const* path, unsigned int length) {
    return SetString(&CBookInfoProxyImpl::m_nCoverPagePathOffset, path, length);
}

QVRESULT CBookInfoProxyImpl::SetPublisherName(char const* name, unsigned int length) {
    return SetString(&CBookInfoProxyImpl::m_nPublisherNameOffset, name, length);
}

QVRESULT CBookInfoProxyImpl::SetISBN(char const* isbn, unsigned int length) {
    return SetString(&CBookInfoProxyImpl::m_nISBNOffset, isbn, length);
}

QVRESULT CBookInfoProxyImpl::SetLatestSection(char const* section, unsigned int length) {
    return SetString(&CBookInfoProxyImpl::m_nLatestSectionOffset, section, length);
}

QVRESULT CBookInfoProxyImpl::SetSummary(char const* summary, unsigned int length) {
    return SetString(&CBookInfoProxyImpl::m_nSummaryOffset, summary, length);
}

// --- numbers ------------------------------------------------------------------------------------

QVRESULT CBookInfoProxyImpl::SetNumber(Offset field, unsigned int number, std::size_t size) {
    const QVRESULT result = Prepare(CheckProxy(m_pFile, true), 0);
    if (result != QV_S_OK)
        return result;
    unsigned char bytes[sizeof number];
    StoreLE32(bytes, number);
    std::copy_n(bytes, size, Field(this->*field));
    m_pNode->bModified = 1;
    return QV_S_OK;
}

QVRESULT CBookInfoProxyImpl::GetBookSource(QvBookSource* source) {
    const QVRESULT result = Prepare(CheckProxy(m_pFile, source != nullptr), 1);
    if (result == QV_S_OK)
        *source = static_cast<QvBookSource>(*Field(m_nBookSourceOffset));
    return result;
}

QVRESULT CBookInfoProxyImpl::GetReadingProgress(unsigned int* progress) {
    const QVRESULT result = Prepare(CheckProxy(m_pFile, progress != nullptr), 1);
    if (result == QV_S_OK)
        *progress = LoadLE32(Field(m_nReadingProgressOffset));
    return result;
}

QVRESULT CBookInfoProxyImpl::GetIsSerialized(int* serialized) {
    const QVRESULT result = Prepare(CheckProxy(m_pFile, serialized != nullptr), 1);
    if (result == QV_S_OK)
        *serialized = *Field(m_nIsSerializedOffset) != 0;
    return result;
}

QVRESULT CBookInfoProxyImpl::SetReadingProgress(unsigned int progress) {
    return SetNumber(&CBookInfoProxyImpl::m_nReadingProgressOffset, progress,
                     QvpFormat::kReadingProgressSize);
}

QVRESULT CBookInfoProxyImpl::SetBookSource(QvBookSource source) {
    return SetNumber(&CBookInfoProxyImpl::m_nBookSourceOffset, source, QvpFormat::kBookSourceSize);
}

QVRESULT CBookInfoProxyImpl::SetIsSerialized(int serialized) {
    return SetNumber(&CBookInfoProxyImpl::m_nIsSerializedOffset, serialized != 0,
                     QvpFormat::kIsSerializedSize);
}

// --- the reading bookmark -----------------------------------------------------------------------

QVRESULT CBookInfoProxyImpl::GetReadingBookmark(IBookAnnotation** bookmark) {
    const QVRESULT result = Prepare(CheckProxy(m_pFile, bookmark), 1);
    if (result != QV_S_OK)
        return result;
    *bookmark = CBookAnnotationHelper::CreateAnnotationFromBuffer(
        Field(m_nReadingBookmarkOffset + QvpFormat::kSlotHeaderSize),
        LoadLE32(Field(m_nReadingBookmarkOffset)), QvAnnotationPosition);
    return *bookmark ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CBookInfoProxyImpl::SetReadingBookmark(IBookAnnotation* bookmark) {
    const QVRESULT result = Prepare(CheckProxy(m_pFile, bookmark != nullptr), 0);
    if (result != QV_S_OK)
        return result;
    if (!CBookAnnotationHelper::SaveAnnotationToBuffer(
            bookmark, QvAnnotationPosition,
            Field(m_nReadingBookmarkOffset + QvpFormat::kSlotHeaderSize),
            LoadLE32(Field(m_nReadingBookmarkOffset))))
        return QV_E_FAIL;
    m_pNode->bModified = 1;
    return QV_S_OK;
}

} // namespace QvFormat
