#include "readingdata/CBookInfoProxyImpl.h"

#include <climits>
#include <cstring>
#include <memory>

#include "IBookAnnotation.h"
#include "base/ByteReader.h"
#include "base/LittleEndian.h"
#include "readingdata/CBookAnnotationHelper.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CQvpFile.h"
#include "readingdata/NewArray.h"
#include "readingdata/QvpFormat.h"

namespace QvFormat {

namespace {

struct NewSlot {
    unsigned int offset;
    unsigned int capacity;
};

constexpr NewSlot NewSlots[] = {
    {QvpFormat::BookNameAt, QvpFormat::NameCapacity},
    {QvpFormat::AuthorNameAt, QvpFormat::NameCapacity},
    {QvpFormat::CoverPagePathAt, QvpFormat::PathCapacity},
    {QvpFormat::PublisherNameAt, QvpFormat::NameCapacity},
    {QvpFormat::ISBNAt, QvpFormat::ISBNCapacity},
    {QvpFormat::SummaryAt, QvpFormat::SummaryCapacity},
    {QvpFormat::ReadingBookmarkAt, QvpFormat::BookmarkCapacity},
    {QvpFormat::LatestSectionAt, QvpFormat::PathCapacity},
};

} // namespace

CBookInfoProxyImpl::CBookInfoProxyImpl(CQvpFile* file, unsigned int fileId)
    : m_pFile(file), m_nFileId(fileId) {}

CBookInfoProxyImpl::~CBookInfoProxyImpl() = default;

// --- finding the record -------------------------------------------------------------------------

QVRESULT CBookInfoProxyImpl::AttachList() {
    return m_pFile->AttachNodeList(QvpNodeBookInfo, m_nFileId, &m_pNode);
}

int CBookInfoProxyImpl::AttachDataNode() {
    return AttachList() == QV_S_OK && ParseDataNode();
}

int CBookInfoProxyImpl::ParseDataNode() {
    if (!m_pNode || !m_pNode->pData || m_pNode->nLength == 0)
        return 0;
    const unsigned char* data = m_pNode->pData;
    const unsigned int length = m_pNode->nLength < INT_MAX ? m_pNode->nLength : INT_MAX;
    int position = 0;
    unsigned int* const strings[] = {&m_nBookNameOffset,      &m_nAuthorNameOffset,
                                     &m_nCoverPagePathOffset, &m_nPublisherNameOffset,
                                     &m_nISBNOffset,          &m_nSummaryOffset};
    for (unsigned int* slotOffset : strings) {
        if (!ProcessRawBlock(data, length, &position, slotOffset))
            return 0;
    }
    m_nBookSourceOffset = static_cast<unsigned int>(position);
    m_nReadingProgressOffset = m_nBookSourceOffset + QvpFormat::BookSourceSize;
    if (!ProcessFixed(length, &position,
                      QvpFormat::BookSourceSize + QvpFormat::ReadingProgressSize) ||
        !ProcessRawBlock(data, length, &position, &m_nReadingBookmarkOffset))
        return 0;
    m_nIsSerializedOffset = static_cast<unsigned int>(position);
    return ProcessFixed(length, &position, QvpFormat::IsSerializedSize) &&
           ProcessRawBlock(data, length, &position, &m_nLatestSectionOffset);
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

int CBookInfoProxyImpl::ProcessFixed(unsigned int length, int* position, unsigned int size) {
    if (size > length - static_cast<unsigned int>(*position))
        return 0;
    *position += static_cast<int>(size);
    return 1;
}

Qvp_Node* CBookInfoProxyImpl::CreateQvpNode() {
    QvpNodePtr node = NewQvpNode(QvpNodeBookInfo, m_nFileId, QvpFormat::BookInfoLength);
    if (!node)
        return nullptr;
    for (const NewSlot& slot : NewSlots)
        StoreLE32(node->pData + slot.offset, slot.capacity);
    return node.release();
}

int CBookInfoProxyImpl::InitializeAttachedDataNode(int readOnly) {
    m_bParsed = AttachDataNode();
    if (m_bParsed || readOnly || m_pNode)
        return m_bParsed;
    // A record that memory did not suffice to load must not get a second one beside it.
    if (AttachList() != QV_S_OK || m_pNode)
        return 0;
    QvpNodePtr node(CreateQvpNode());
    if (!node || m_pFile->AppendNodeList(node.get()) != QV_S_OK)
        return 0;
    m_pNode = node.release();
    m_bParsed = ParseDataNode();
    return m_bParsed;
}

QVRESULT CBookInfoProxyImpl::Prepare(int readOnly) {
    if (m_pNode)
        return m_bParsed ? QV_S_OK : QV_E_FAIL;
    return InitializeAttachedDataNode(readOnly) ? QV_S_OK : QV_E_FAIL;
}

// --- strings ------------------------------------------------------------------------------------

QVRESULT CBookInfoProxyImpl::GetString(const unsigned int& slotOffset, char** out) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!out)
        return QV_E_INVALIDARG;
    *out = nullptr;
    const QVRESULT result = Prepare(1);
    return result == QV_S_OK ? ReadData(slotOffset, out) : result;
}

QVRESULT CBookInfoProxyImpl::SetString(const unsigned int& slotOffset, char const* text,
                                       unsigned int length) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!text)
        return QV_E_INVALIDARG;
    const QVRESULT result = Prepare(0);
    return result == QV_S_OK ? WriteData(slotOffset, text, length) : result;
}

QVRESULT CBookInfoProxyImpl::ReadData(unsigned int slotOffset, char** out) {
    const std::uint32_t capacity = LoadLE32(Field(slotOffset));
    const auto* text = reinterpret_cast<char*>(Field(slotOffset + QvpFormat::SlotHeaderSize));
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
    auto* slot = reinterpret_cast<char*>(Field(slotOffset + QvpFormat::SlotHeaderSize));
    const std::size_t used = strnlen(text, length);
    std::memcpy(slot, text, used);
    std::memset(slot + used, 0, length - used + 1);
    m_pNode->bModified = 1;
    return QV_S_OK;
}

QVRESULT CBookInfoProxyImpl::GetBookName(char** name) {
    return GetString(m_nBookNameOffset, name);
}

QVRESULT CBookInfoProxyImpl::GetAuthorName(char** name) {
    return GetString(m_nAuthorNameOffset, name);
}

QVRESULT CBookInfoProxyImpl::GetCoverPagePath(char** path) {
    return GetString(m_nCoverPagePathOffset, path);
}

QVRESULT CBookInfoProxyImpl::GetPublisherName(char** name) {
    return GetString(m_nPublisherNameOffset, name);
}

QVRESULT CBookInfoProxyImpl::GetISBN(char** isbn) {
    return GetString(m_nISBNOffset, isbn);
}

QVRESULT CBookInfoProxyImpl::GetSummary(char** summary) {
    return GetString(m_nSummaryOffset, summary);
}

QVRESULT CBookInfoProxyImpl::GetLatestSection(char** section) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!section)
        return QV_E_INVALIDARG;
    *section = nullptr;
    int serialized = 0;
    if (GetIsSerialized(&serialized) != QV_S_OK || !serialized)
        return QV_E_FAIL;
    return ReadData(m_nLatestSectionOffset, section);
}

QVRESULT CBookInfoProxyImpl::SetBookName(char const* name, unsigned int length) {
    return SetString(m_nBookNameOffset, name, length);
}

QVRESULT CBookInfoProxyImpl::SetAuthorName(char const* name, unsigned int length) {
    return SetString(m_nAuthorNameOffset, name, length);
}

QVRESULT CBookInfoProxyImpl::SetCoverPagePath(char const* path, unsigned int length) {
    return SetString(m_nCoverPagePathOffset, path, length);
}

QVRESULT CBookInfoProxyImpl::SetPublisherName(char const* name, unsigned int length) {
    return SetString(m_nPublisherNameOffset, name, length);
}

QVRESULT CBookInfoProxyImpl::SetISBN(char const* isbn, unsigned int length) {
    return SetString(m_nISBNOffset, isbn, length);
}

QVRESULT CBookInfoProxyImpl::SetLatestSection(char const* section, unsigned int length) {
    return SetString(m_nLatestSectionOffset, section, length);
}

QVRESULT CBookInfoProxyImpl::SetSummary(char const* summary, unsigned int length) {
    return SetString(m_nSummaryOffset, summary, length);
}

// --- numbers ------------------------------------------------------------------------------------

QVRESULT CBookInfoProxyImpl::GetBookSource(QvBookSource* source) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!source)
        return QV_E_INVALIDARG;
    const QVRESULT result = Prepare(1);
    if (result == QV_S_OK)
        *source = static_cast<QvBookSource>(*Field(m_nBookSourceOffset));
    return result;
}

QVRESULT CBookInfoProxyImpl::GetReadingProgress(unsigned int* progress) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!progress)
        return QV_E_INVALIDARG;
    const QVRESULT result = Prepare(1);
    if (result == QV_S_OK)
        *progress = LoadLE32(Field(m_nReadingProgressOffset));
    return result;
}

QVRESULT CBookInfoProxyImpl::GetIsSerialized(int* serialized) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!serialized)
        return QV_E_INVALIDARG;
    const QVRESULT result = Prepare(1);
    if (result == QV_S_OK)
        *serialized = *Field(m_nIsSerializedOffset) != 0;
    return result;
}

QVRESULT CBookInfoProxyImpl::SetReadingProgress(unsigned int progress) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    const QVRESULT result = Prepare(0);
    if (result == QV_S_OK) {
        StoreLE32(Field(m_nReadingProgressOffset), progress);
        m_pNode->bModified = 1;
    }
    return result;
}

QVRESULT CBookInfoProxyImpl::SetBookSource(QvBookSource source) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    const QVRESULT result = Prepare(0);
    if (result == QV_S_OK) {
        *Field(m_nBookSourceOffset) = static_cast<unsigned char>(source);
        m_pNode->bModified = 1;
    }
    return result;
}

QVRESULT CBookInfoProxyImpl::SetIsSerialized(int serialized) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    const QVRESULT result = Prepare(0);
    if (result == QV_S_OK) {
        *Field(m_nIsSerializedOffset) = serialized != 0;
        m_pNode->bModified = 1;
    }
    return result;
}

// --- the reading bookmark -----------------------------------------------------------------------

QVRESULT CBookInfoProxyImpl::GetReadingBookmark(IBookAnnotation** bookmark) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!bookmark)
        return QV_E_INVALIDARG;
    *bookmark = nullptr;
    const QVRESULT result = Prepare(1);
    if (result != QV_S_OK)
        return result;
    *bookmark = CBookAnnotationHelper::CreateAnnotationFromBuffer(
        Field(m_nReadingBookmarkOffset + QvpFormat::SlotHeaderSize),
        LoadLE32(Field(m_nReadingBookmarkOffset)), QvAnnotationPosition);
    return *bookmark ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CBookInfoProxyImpl::SetReadingBookmark(IBookAnnotation* bookmark) {
    if (!m_pFile)
        return QV_E_NOTREADY;
    if (!bookmark)
        return QV_E_INVALIDARG;
    const QVRESULT result = Prepare(0);
    if (result != QV_S_OK)
        return result;
    if (!CBookAnnotationHelper::SaveAnnotationToBuffer(
            bookmark, QvAnnotationPosition,
            Field(m_nReadingBookmarkOffset + QvpFormat::SlotHeaderSize),
            LoadLE32(Field(m_nReadingBookmarkOffset))))
        return QV_E_FAIL;
    m_pNode->bModified = 1;
    return QV_S_OK;
}

} // namespace QvFormat
