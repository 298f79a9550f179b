#define _FILE_OFFSET_BITS 64 // or inodes above 32 bits keep a 32-bit device from its files
#include "readingdata/CQvpFile.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "IQVSequentialStream.h"
#include "base/CUtility.h"
#include "base/OwnedArray.h"
#include "base/RegularFile.h"
#include "readingdata/CBookIndexProxyImpl.h"
#include "readingdata/CBookInfoProxyImpl.h"
#include "readingdata/CBookPathTableProxyImpl.h"
#include "readingdata/CBookTagProxyImpl.h"
#include "readingdata/NodePlaces.h"
#include "readingdata/QvpFormat.h"
#include "readingdata/QvpRecordFile.h"
#include "readingdata/QvpRecordScan.h"

namespace QvFormat {

namespace {

struct ListOfType {
    QvpNodeType type;
    Qvp_Node* Qvp_File_Data_Node::*list;
};

// The lists of one file id in the order in which a flush writes them.
constexpr ListOfType kFileIdLists[] = {
    {QvpNodeBookInfo, &Qvp_File_Data_Node::pBookInfo},
    {QvpNodeIndexList, &Qvp_File_Data_Node::pIndexList},
    {QvpNodePositionAnnotations, &Qvp_File_Data_Node::pPositionAnnotations},
    {QvpNodeRangeAnnotations, &Qvp_File_Data_Node::pRangeAnnotations},
    {QvpNodeCommentAnnotations, &Qvp_File_Data_Node::pCommentAnnotations},
    {QvpNodeTagList, &Qvp_File_Data_Node::pTagList},
};

bool CreateEmpty(const char* path) {
    return !CUtility::CheckFileExistence(path) &&
           ReplaceFile(path, QvpFormat::kNewHeader, sizeof QvpFormat::kNewHeader) ==
               Replacement::Done;
}

template<typename Proxy, typename Interface>
QVRESULT MakeProxy(CQvpFile* file, int opened, unsigned int fileId, Interface** proxy) {
    if (!opened)
        return QV_E_NOTREADY;
    if (!proxy)
        return QV_E_INVALIDARG;
    *proxy = new (std::nothrow) Proxy(file, fileId);
    return *proxy ? QV_S_OK : QV_E_OUTOFMEMORY;
}

bool IsNew(const Qvp_Node* node) {
    return node->nOffset == 0 && node->nType != QvpNodeFree && node->nLength != 0 && node->pData;
}

// A record of which every reader makes a node, unless its list is not known.
bool IsListed(const QvpRecord& record) {
    return record.bWhole && record.nType != QvpNodeFree && record.nLength != 0 &&
           record.nLength <= INT_MAX;
}

// Whether a record is that of a node in use; another container may have freed it, or put another
// one in its place.
bool IsRecordOf(const Qvp_Node& node, const QvpRecord& record) {
    return node.nType != QvpNodeFree && node.nId == record.nId && node.nLength == record.nLength &&
           (record.nType == QvpNodeFree || record.nType == node.nType);
}

// Whatever is appended after a record that was cut off while it was written would be taken for its
// missing bytes.
bool EndsTorn(const unsigned char* image, long size) {
    QvpRecordScan scan(size);
    for (QvpRecord record = {}; scan.Next(image, &record);) {
    }
    return !scan.ReachedEnd();
}

} // namespace

CQvpFile::CQvpFile() = default;

CQvpFile::~CQvpFile() {
    if (m_pszPath && (!m_bFlushed || FindPending().IsUnsaved()))
        CQvpFile::Flush();
    FreeFileDataList(m_pFileDataList);
    FreeDataList(m_pPathTableList);
}

// --- opening ------------------------------------------------------------------------------------

QVRESULT CQvpFile::Open(char const* path, int create) {
    if (m_bOpened)
        return QV_E_FAIL;
    if (!path)
        return QV_E_INVALIDARG;
    QVRESULT result = ReadImage(path, &m_pImage, &m_nImageSize);
    if (result == QV_E_FAIL && create && CreateEmpty(path))
        result = ReadImage(path, &m_pImage, &m_nImageSize);
    if (result != QV_S_OK)
        return result;
    m_pszPath = CopyString(path);
    if (!m_pszPath)
        return QV_E_OUTOFMEMORY;
    m_bOpened = 1;
    m_bFromPath = 1;
    return QV_S_OK;
}

// Reads the whole file or nothing: what a short read left out would be lost at the next compaction.
QVRESULT CQvpFile::ReadImage(const char* path, Image* image, long* size) {
    Image bytes;
    long count = 0;
    const QVRESULT result =
        ReadRegularFile(path, QvpFormat::kNewHeader, QvpFormat::kMagicSize, &bytes, &count);
    if (result != QV_S_OK)
        return result;
    if (count < QvpFormat::kHeaderSize || !HandleHeader(bytes.get()))
        return QV_E_FAIL;
    *image = std::move(bytes);
    *size = count;
    return QV_S_OK;
}

QVRESULT CQvpFile::Open(IQVSequentialStream* stream) {
    if (m_bOpened)
        return QV_E_FAIL;
    if (!stream)
        return QV_E_INVALIDARG;
    m_pStream = stream;
    int canRead = 0;
    unsigned char header[QvpFormat::kHeaderSize];
    if (stream->GetCanRead(&canRead) < 0 || !canRead || !GetData(0, sizeof header, header) ||
        !HandleHeader(header))
        return QV_E_FAIL;
    m_bOpened = 1;
    return QV_S_OK;
}

int CQvpFile::HandleHeader(unsigned char* header) {
    if (std::memcmp(header, QvpFormat::kNewHeader, QvpFormat::kMagicSize) != 0)
        return 0;
    m_nVersion = header[QvpFormat::kVersionAt];
    m_nRevision = header[QvpFormat::kRevisionAt];
    return 1;
}

// --- proxies ------------------------------------------------------------------------------------

QVRESULT CQvpFile::GetInfoProxy(IBookInfoProxy** proxy, unsigned int fileId) {
    return MakeProxy<CBookInfoProxyImpl>(this, m_bOpened, fileId, proxy);
}

QVRESULT CQvpFile::GetIndexProxy(IBookIndexProxy** proxy, unsigned int fileId) {
    return MakeProxy<CBookIndexProxyImpl>(this, m_bOpened, fileId, proxy);
}

QVRESULT CQvpFile::GetAnnotationProxy(IBookAnnotationProxy**, unsigned int) {
    return QV_E_NOTIMPL;
}

QVRESULT CQvpFile::GetTagProxy(IBookTagProxy** proxy, unsigned int fileId) {
    return MakeProxy<CBookTagProxyImpl>(this, m_bOpened, fileId, proxy);
}

QVRESULT CQvpFile::GetPathTableProxy(IBookPathTableProxy** proxy) {
    return MakeProxy<CBookPathTableProxyImpl>(this, m_bOpened, kCommonFileId, proxy);
}

QVRESULT CQvpFile::Save(char const*) {
    return QV_E_NOTIMPL;
}

QVRESULT CQvpFile::Save(IQVSequentialStream*) {
    return QV_E_NOTIMPL;
}

// --- reading records ----------------------------------------------------------------------------

int CQvpFile::GetData(long offset, int size, unsigned char* out) {
    if (m_bFromPath) {
        if (offset > m_nImageSize || size > m_nImageSize - offset)
            return 0;
        std::memcpy(out, m_pImage.get() + offset, static_cast<std::size_t>(size));
        return 1;
    }
    int count = 0;
    return m_pStream->Seek(offset, SeekFromBegin, nullptr) >= 0 &&
           m_pStream->Read(out, size, &count) >= 0 && count == size;
}

int CQvpFile::AttachDataBuffer(Qvp_Node* node, long offset, unsigned int size) {
    // Asked for before anything is allocated, so that a length that lies costs no memory.
    unsigned char last = 0;
    if (size == 0 || size > INT_MAX || offset > LONG_MAX - static_cast<long>(size) ||
        !GetData(offset + static_cast<long>(size) - 1, 1, &last))
        return 0;
    node->bBorrowed = m_bFromPath;
    if (m_bFromPath) {
        node->pData = m_pImage.get() + offset;
        return 1;
    }
    Image bytes = NewArray<unsigned char>(size);
    if (!bytes || !GetData(offset, static_cast<int>(size), bytes.get()))
        return 0;
    node->pData = bytes.release();
    return 1;
}

QVRESULT CQvpFile::LoadNodeList(QvpNodeType type, unsigned int fileId, Qvp_Node** head) {
    *head = nullptr;
    Qvp_Node** tail = head;
    QvpRecordScan scan(m_bFromPath ? m_nImageSize : LONG_MAX);
    QvpRecord record = {};
    unsigned char header[QvpFormat::kRecordHeaderSize];
    while (GetData(scan.Position(), sizeof header, header) && scan.Take(header, &record)) {
        if (!IsListed(record) || record.nType != type ||
            (type != QvpNodePathTable && record.nId != fileId))
            continue;
        QvpNodePtr node(new (std::nothrow) Qvp_Node{type, record.nId, record.nOffset, 0,
                                                    record.nLength, nullptr, 0, nullptr});
        if (!node) {
            FreeDataList(*head);
            *head = nullptr;
            return QV_E_OUTOFMEMORY;
        }
        const long data = record.nOffset + QvpFormat::kRecordHeaderSize;
        if (!AttachDataBuffer(node.get(), data, record.nLength))
            continue;
        *tail = node.release();
        tail = &(*tail)->pNext;
    }
    return QV_S_OK;
}

// --- lists --------------------------------------------------------------------------------------

QVRESULT CQvpFile::AttachNodeList(QvpNodeType type, unsigned int fileId, Qvp_Node** head) {
    if (!m_bOpened)
        return QV_E_NOTREADY;
    if (type == QvpNodeFree || !head)
        return QV_E_INVALIDARG;
    *head = nullptr;
    if (type != QvpNodePathTable && !FindFileDataNode(fileId))
        return QV_E_FAIL;
    Qvp_Node** slot = FindList(type, fileId);
    if (!slot)
        return QV_E_INVALIDARG;
    const QVRESULT result = *slot ? QV_S_OK : LoadNodeList(type, fileId, slot);
    *head = *slot;
    return result;
}

QVRESULT CQvpFile::AppendNodeList(Qvp_Node* chain) {
    if (!m_bOpened)
        return QV_E_NOTREADY;
    if (!chain)
        return QV_E_INVALIDARG;
    Qvp_Node* last = nullptr; // the node placed before, the tail of its list
    while (Qvp_Node* node = chain) {
        const bool isSameList = last && last->nType == node->nType && last->nId == node->nId;
        const bool isListed = node->nType > QvpNodeFree && node->nType <= QvpNodeCommentAnnotations;
        if (isListed && node->nType != QvpNodePathTable && !FindFileDataNode(node->nId))
            return QV_E_FAIL;
        chain = node->pNext;
        node->pNext = nullptr;
        if (!isListed)
            continue;
        Qvp_Node** slot = isSameList ? &last->pNext : FindList(node->nType, node->nId);
        while (*slot)
            slot = &(*slot)->pNext;
        *slot = last = node;
    }
    return QV_S_OK;
}

Qvp_File_Data_Node* CQvpFile::FindFileDataNode(unsigned int fileId) {
    for (Qvp_File_Data_Node* group = m_pFileDataList; group; group = group->pNext) {
        if (group->nFileId == fileId)
            return group;
    }
    auto* group = new (std::nothrow) Qvp_File_Data_Node{};
    if (group) {
        group->nFileId = fileId;
        group->pNext = m_pFileDataList;
        m_pFileDataList = group;
    }
    return group;
}

Qvp_Node** CQvpFile::FindList(unsigned int type, unsigned int fileId) {
    if (type == QvpNodePathTable)
        return &m_pPathTableList;
    for (Qvp_File_Data_Node* group = m_pFileDataList; group; group = group->pNext) {
        for (const ListOfType& entry : kFileIdLists) {
            if (group->nFileId == fileId && entry.type == static_cast<QvpNodeType>(type))
                return &(group->*entry.list);
        }
    }
    return nullptr;
}

Qvp_Node* CQvpFile::LoadedList(const QvpRecord& record) {
    Qvp_Node** list = IsListed(record) ? FindList(record.nType, record.nId) : nullptr;
    return list ? *list : nullptr;
}

template<typename Visit>
void CQvpFile::ForEachNode(Visit visit) const {
    for (Qvp_Node* node = m_pPathTableList; node; node = node->pNext)
        visit(node);
    for (Qvp_File_Data_Node* group = m_pFileDataList; group; group = group->pNext) {
        for (const ListOfType& entry : kFileIdLists) {
            for (Qvp_Node* node = group->*entry.list; node; node = node->pNext)
                visit(node);
        }
    }
}

// All nodes, by the offsets of their records.
NodePlaces CQvpFile::Places() const {
    return NodePlaces([this](auto visit) { ForEachNode(visit); });
}

void CQvpFile::FreeDataList(Qvp_Node* list) {
    while (list) {
        const QvpNodePtr node(list);
        list = node->pNext;
    }
}

void CQvpFile::FreeFileDataList(Qvp_File_Data_Node* groups) {
    while (groups) {
        const std::unique_ptr<Qvp_File_Data_Node> group(groups);
        groups = group->pNext;
        for (const ListOfType& entry : kFileIdLists)
            FreeDataList(group.get()->*entry.list);
    }
}

// --- deciding how to flush ----------------------------------------------------------------------

QVRESULT CQvpFile::Flush() {
    if (!m_bOpened)
        return QV_E_NOTREADY;
    if (!m_bFromPath)
        return QV_S_OK;
    if (!m_pszPath)
        return QV_E_FAIL;
    struct stat status = {};
    const bool isMissing =
        stat(m_pszPath.get(), &status) != 0 && !CUtility::CheckFileExistence(m_pszPath.get());
    const Pending pending = FindPending();
    if (m_bFlushed && !pending.IsUnsaved() && !isMissing)
        return QV_S_OK;
    m_bFlushed = true;

    const bool isChanged = status.st_size != pending.knownSize; // by another container or program
    const bool isCutShort = pending.IsUnsaved() && status.st_size < pending.knownEnd;
    const bool mayAppend = !pending.isNew || (!isCutShort && MayAppend(isChanged));
    if ((isMissing || isCutShort || !mayAppend || ShouldRewrite()) &&
        CompactFile(isChanged) != Replacement::Impossible)
        return QV_S_OK;
    return pending.IsUnsaved() || isMissing ? UpdateFile(mayAppend) : QV_S_OK;
}

CQvpFile::Pending CQvpFile::FindPending() const {
    Pending pending = {false, false, m_nImageSize, m_nImageSize};
    ForEachNode([&pending](const Qvp_Node* node) {
        pending.isNew |= IsNew(node);
        if (node->nOffset == 0)
            return;
        const long size = QvpFormat::kRecordHeaderSize + static_cast<long>(node->nLength);
        pending.isModified |= node->bModified != 0;
        pending.knownSize += node->bBorrowed ? 0 : size;
        pending.knownEnd = std::max(pending.knownEnd, node->nOffset + size);
    });
    return pending;
}

int CQvpFile::ShouldRewrite() {
    QvpRecordScan scan(m_nImageSize);
    std::uint64_t freeData = 0;
    for (QvpRecord record = {}; scan.Next(m_pImage.get(), &record);)
        freeData += record.nType == QvpNodeFree ? record.nLength : 0;
    return freeData > QvpFormat::kMaxFreeData;
}

// Not after a torn record, nor beside a record of the same list that another container has appended
// since: a reader would take both for one list.
bool CQvpFile::MayAppend(bool isChanged) {
    if (!isChanged)
        return !EndsTorn(m_pImage.get(), m_nImageSize);
    Image image;
    long size = 0;
    NodePlaces places = Places();
    if (!places.IsValid() || ReadImage(m_pszPath.get(), &image, &size) != QV_S_OK ||
        EndsTorn(image.get(), size))
        return false;
    QvpRecordScan scan(size);
    for (QvpRecord record = {}; scan.Next(image.get(), &record);) {
        if (places.NodeAt(record.nOffset))
            continue;
        for (Qvp_Node* node = LoadedList(record); node; node = node->pNext) {
            if (IsNew(node))
                return false;
        }
    }
    return true;
}

// --- flushing -----------------------------------------------------------------------------------

QVRESULT CQvpFile::UpdateFile(bool mayAppend) {
    const FilePtr file = OpenRegularFile(m_pszPath.get());
    if (!file)
        return QV_E_FAIL;
    if (mayAppend) {
        SaveQvpNodeToFile(file.get(), m_pPathTableList, 0, 1);
        SaveChangesToFile(file.get(), m_pFileDataList, 0, 1);
    } else {
        ForEachNode([&file](Qvp_Node* node) {
            if (node->nOffset != 0 && node->bModified)
                node->bModified = !OverwriteQvpRecord(file.get(), *node);
        });
    }
    fsync(fileno(file.get()));
    return QV_S_OK;
}

int CQvpFile::SaveChangesToFile(std::FILE* file, Qvp_File_Data_Node* groups, int rewrite,
                                int clearModified) {
    int written = 1;
    for (; groups; groups = groups->pNext) {
        for (const ListOfType& entry : kFileIdLists)
            written &= SaveQvpNodeToFile(file, groups->*entry.list, rewrite, clearModified);
    }
    return written;
}

int CQvpFile::SaveQvpNodeToFile(std::FILE* file, Qvp_Node* list, int rewrite, int clearModified) {
    int written = 1;
    for (Qvp_Node* node = list; node; node = node->pNext) {
        if (node->nOffset != 0 && (rewrite || node->bModified != 1)) {
            if (clearModified)
                node->bModified = 0;
            continue;
        }
        node->bModified = 0;
        if (IsNew(node))
            written &= AppendQvpRecord(file, *node, &node->nOffset);
        else if (node->nOffset != 0 && node->nLength != 0 && node->pData)
            written &= OverwriteQvpRecord(file, *node);
    }
    return written;
}

// --- compaction ---------------------------------------------------------------------------------

// A file that others have changed since is read again, so that the lists that nobody asked for here
// stay as they are by now.
Replacement CQvpFile::CompactFile(bool isChanged) {
    NodePlaces places = Places();
    if (!places.IsValid())
        return Replacement::Impossible;
    Image other; // the image that is not compacted, of which nodes may still borrow
    long otherSize = 0;
    const bool isReread = isChanged && ReadImage(m_pszPath.get(), &other, &otherSize) == QV_S_OK &&
                          !IsCutShort(other.get(), otherSize);
    if (isReread)
        SwapImage(&other, &otherSize);

    Image content;
    long size = 0;
    const auto room = static_cast<std::size_t>(m_nImageSize) + static_cast<std::size_t>(otherSize);
    const Replacement result =
        WriteContent(room, &content, &size)
            ? ReplaceFile(m_pszPath.get(), content.get(), static_cast<std::size_t>(size))
            : Replacement::Impossible;
    if (result == Replacement::Done) {
        AdoptImage(std::move(content), size);
        return result;
    }
    places.Restore();
    if (isReread)
        SwapImage(&other, &otherSize);
    return result;
}

void CQvpFile::SwapImage(Image* image, long* size) {
    m_pImage.swap(*image);
    std::swap(m_nImageSize, *size);
}

// Whether a file holds nothing but the first records of the image.
bool CQvpFile::IsCutShort(const unsigned char* file, long size) const {
    QvpRecordScan scan(size);
    QvpRecordScan known(m_nImageSize);
    QvpRecord expected = {};
    for (QvpRecord record = {}; scan.Next(file, &record) && record.bWhole;) {
        if (!known.Next(m_pImage.get(), &expected) || expected.nId != record.nId ||
            expected.nLength != record.nLength)
            return false;
    }
    return size < m_nImageSize;
}

// Writes the compacted file to memory; `room` is what it may need besides the nodes' own data.
bool CQvpFile::WriteContent(std::size_t room, Image* content, long* size) {
    ForEachNode([&room](const Qvp_Node* node) {
        if (!node->bBorrowed)
            room += QvpFormat::kRecordHeaderSize + std::size_t{node->nLength};
    });
    *content = NewArray<unsigned char>(room);
    const FilePtr memory(*content ? fmemopen(content->get(), room, "w+b") : nullptr);
    if (!memory || !SaveValidContentToFile(memory.get()) ||
        !SaveChangesToFile(memory.get(), m_pFileDataList, 1, 1) ||
        !SaveQvpNodeToFile(memory.get(), m_pPathTableList, 1, 1) ||
        std::fseek(memory.get(), 0, SEEK_END) != 0)
        return false;
    *size = std::ftell(memory.get());
    return *size > 0;
}

int CQvpFile::SaveValidContentToFile(std::FILE* file) {
    NodePlaces places = Places();
    if (!places.IsValid())
        return 0;
    ForEachNode([](Qvp_Node* node) { node->nOffset = 0; });
    int written = std::fwrite(m_pImage.get(), QvpFormat::kHeaderSize, 1, file) == 1;
    QvpRecordScan scan(m_nImageSize);
    for (QvpRecord record = {}; written && scan.Next(m_pImage.get(), &record) && record.bWhole;) {
        Qvp_Node* node = places.NodeAt(record.nOffset);
        if (node && IsRecordOf(*node, record)) {
            written = AppendQvpRecord(file, *node, &node->nOffset);
        } else if (record.nType != QvpNodeFree && !LoadedList(record)) {
            const std::size_t size = QvpFormat::kRecordHeaderSize + std::size_t{record.nLength};
            written = std::fwrite(m_pImage.get() + record.nOffset, 1, size, file) == size;
        }
    }
    return written;
}

// Lets the nodes point into the content that was written. A freed record is not in it, but a list
// that grows again may use its node: it becomes a record that was never written, and without memory
// for its data it stays free for good.
void CQvpFile::AdoptImage(Image image, long size) {
    ForEachNode([&image](Qvp_Node* node) {
        node->bModified = 0;
        if (node->nOffset != 0) {
            if (!node->bBorrowed)
                delete[] node->pData;
            node->pData = image.get() + node->nOffset + QvpFormat::kRecordHeaderSize;
            node->bBorrowed = 1;
        } else if (node->bBorrowed) {
            node->pData = CopyArray(node->pData, node->nLength).release();
            node->nLength = node->pData ? node->nLength : 0;
            node->bBorrowed = 0;
        }
    });
    m_pImage = std::move(image);
    m_nImageSize = size;
}

} // namespace QvFormat
