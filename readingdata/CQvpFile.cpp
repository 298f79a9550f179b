#include "readingdata/CQvpFile.h"

#include <climits>
#include <cstring>
#include <new>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "IQVSequentialStream.h"
#include "base/CUtility.h"
#include "base/Handles.h"
#include "base/LittleEndian.h"
#include "readingdata/CBookIndexProxyImpl.h"
#include "readingdata/CBookInfoProxyImpl.h"
#include "readingdata/CBookPathTableProxyImpl.h"
#include "readingdata/CBookTagProxyImpl.h"
#include "readingdata/NewArray.h"
#include "readingdata/NodePlaces.h"
#include "readingdata/QvpFormat.h"
#include "readingdata/QvpRecordFile.h"
#include "readingdata/QvpRecordScan.h"
#include "readingdata/ReplacementFile.h"

namespace QvFormat {

namespace {

struct ListOfType {
    QvpNodeType type;
    Qvp_Node* Qvp_File_Data_Node::*list;
};

// The lists of one file id in the order in which a flush writes them.
constexpr ListOfType FileIdLists[] = {
    {QvpNodeBookInfo, &Qvp_File_Data_Node::pBookInfo},
    {QvpNodeIndexList, &Qvp_File_Data_Node::pIndexList},
    {QvpNodePositionAnnotations, &Qvp_File_Data_Node::pPositionAnnotations},
    {QvpNodeRangeAnnotations, &Qvp_File_Data_Node::pRangeAnnotations},
    {QvpNodeCommentAnnotations, &Qvp_File_Data_Node::pCommentAnnotations},
    {QvpNodeTagList, &Qvp_File_Data_Node::pTagList},
};

bool CreateEmptyFile(const char* path) {
    ReplacementFile file;
    return file.Open(path) &&
           std::fwrite(QvpFormat::NewHeader, sizeof QvpFormat::NewHeader, 1, file.File()) == 1 &&
           file.Close() && file.PutInPlace();
}

FilePtr OpenForReading(const char* path, bool create) {
    FilePtr file(std::fopen(path, "rb"));
    if (file || !create || CUtility::CheckFileExistence(path) || !CreateEmptyFile(path))
        return file;
    return FilePtr(std::fopen(path, "rb"));
}

std::FILE* OpenUnbuffered(const char* path, const char* mode) {
    std::FILE* file = std::fopen(path, mode);
    if (file)
        std::setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

bool IsNew(const Qvp_Node* node) {
    return node->nOffset == 0 && node->nType != QvpNodeFree && node->nLength != 0 && node->pData;
}

bool IsUnsaved(const Qvp_Node* node) {
    return IsNew(node) || (node->nOffset != 0 && node->bModified);
}

} // namespace

CQvpFile::CQvpFile() = default;

CQvpFile::~CQvpFile() {
    if (m_pszPath)
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
    const FilePtr file = OpenForReading(path, create != 0);
    if (!file)
        return QV_E_FAIL;
    Image image;
    long size = 0;
    const QVRESULT result = ReadImage(file.get(), &image, &size);
    if (result != QV_S_OK)
        return result;
    m_pszPath = CopyString(path);
    if (!m_pszPath)
        return QV_E_OUTOFMEMORY;
    m_pImage = std::move(image);
    m_nImageSize = size;
    m_bOpened = 1;
    m_bFromPath = 1;
    return QV_S_OK;
}

// Reads the whole file or nothing: what a short read left out would be lost at the next compaction.
QVRESULT CQvpFile::ReadImage(std::FILE* file, Image* image, long* size) {
    unsigned char header[QvpFormat::HeaderSize];
    if (std::fseek(file, 0, SEEK_END) != 0)
        return QV_E_FAIL;
    const long end = std::ftell(file);
    if (end < QvpFormat::HeaderSize || std::fseek(file, 0, SEEK_SET) != 0 ||
        std::fread(header, 1, sizeof header, file) != sizeof header || !HandleHeader(header))
        return QV_E_FAIL;
    Image bytes = NewArray<unsigned char>(static_cast<std::size_t>(end));
    if (!bytes)
        return QV_E_OUTOFMEMORY;
    const auto count = static_cast<std::size_t>(end);
    if (std::fseek(file, 0, SEEK_SET) != 0 || std::fread(bytes.get(), 1, count, file) != count)
        return QV_E_FAIL;
    *image = std::move(bytes);
    *size = end;
    return QV_S_OK;
}

QVRESULT CQvpFile::Open(IQVSequentialStream* stream) {
    if (m_bOpened)
        return QV_E_FAIL;
    if (!stream)
        return QV_E_INVALIDARG;
    int canRead = 0;
    if (stream->GetCanRead(&canRead) < 0 || !canRead)
        return QV_E_FAIL;
    unsigned char header[QvpFormat::HeaderSize];
    int count = 0;
    if (stream->Seek(0, SeekFromBegin, nullptr) < 0 ||
        stream->Read(header, sizeof header, &count) < 0 || count != sizeof header ||
        !HandleHeader(header))
        return QV_E_FAIL;
    m_bOpened = 1;
    m_pStream = stream;
    m_bFromPath = 0;
    return QV_S_OK;
}

int CQvpFile::HandleHeader(unsigned char* header) {
    if (std::memcmp(header, QvpFormat::NewHeader, QvpFormat::MagicSize) != 0)
        return 0;
    m_nVersion = header[QvpFormat::VersionAt];
    m_nRevision = header[QvpFormat::RevisionAt];
    return 1;
}

// --- proxies ------------------------------------------------------------------------------------

namespace {

template<typename Proxy, typename Interface>
QVRESULT MakeProxy(CQvpFile* file, int opened, unsigned int fileId, Interface** proxy) {
    if (!opened)
        return QV_E_NOTREADY;
    if (!proxy)
        return QV_E_INVALIDARG;
    *proxy = new (std::nothrow) Proxy(file, fileId);
    return *proxy ? QV_S_OK : QV_E_OUTOFMEMORY;
}

} // namespace

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
    return MakeProxy<CBookPathTableProxyImpl>(this, m_bOpened, QvpFormat::CommonFileId, proxy);
}

QVRESULT CQvpFile::Save(char const*) {
    return QV_E_NOTIMPL;
}

QVRESULT CQvpFile::Save(IQVSequentialStream*) {
    return QV_E_NOTIMPL;
}

// --- reading records ----------------------------------------------------------------------------

bool CQvpFile::NextRecord(QvpRecordScan* scan, QvpRecord* record) {
    unsigned char header[QvpFormat::RecordHeaderSize];
    return GetData(scan->Position(), sizeof header, header) && scan->Take(header, record);
}

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
    if (size == 0 || size > INT_MAX)
        return 0;
    // Asked for before anything is allocated, so that a length that lies costs no memory.
    unsigned char last = 0;
    if (offset > LONG_MAX - static_cast<long>(size) ||
        !GetData(offset + static_cast<long>(size) - 1, 1, &last))
        return 0;
    if (m_bFromPath) {
        node->pData = m_pImage.get() + offset;
        node->bBorrowed = 1;
        return 1;
    }
    Image bytes = NewArray<unsigned char>(size);
    if (!bytes || !GetData(offset, static_cast<int>(size), bytes.get()))
        return 0;
    node->pData = bytes.release();
    node->bBorrowed = 0;
    return 1;
}

QVRESULT CQvpFile::LoadNodeList(QvpNodeType type, unsigned int fileId, Qvp_Node** head) {
    *head = nullptr;
    Qvp_Node** tail = head;
    QvpRecordScan scan(m_bFromPath ? m_nImageSize : LONG_MAX);
    QvpRecord record = {};
    while (NextRecord(&scan, &record)) {
        const bool bListed = record.nType == type && record.nLength != 0 &&
                             (type == QvpNodePathTable || record.nId == fileId);
        if (!bListed || !record.bWhole)
            continue;
        QvpNodePtr node(new (std::nothrow) Qvp_Node{type, record.nId, record.nOffset, 0,
                                                    record.nLength, nullptr, 0, nullptr});
        if (!node) {
            FreeDataList(*head);
            *head = nullptr;
            return QV_E_OUTOFMEMORY;
        }
        const long data = record.nOffset + QvpFormat::RecordHeaderSize;
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
    Qvp_Node** slot = ListSlot(type, fileId);
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
    while (chain) {
        Qvp_Node* node = chain;
        const bool bSameList = last && last->nType == node->nType && last->nId == node->nId;
        Qvp_Node** slot = bSameList ? &last->pNext : ListSlot(node->nType, node->nId);
        const bool bListed = node->nType > QvpNodeFree && node->nType <= QvpNodeCommentAnnotations;
        if (bListed && !slot)
            return QV_E_FAIL;
        chain = node->pNext;
        node->pNext = nullptr;
        if (!bListed)
            continue;
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

Qvp_Node** CQvpFile::ListSlot(QvpNodeType type, unsigned int fileId) {
    if (type == QvpNodePathTable)
        return &m_pPathTableList;
    for (const ListOfType& entry : FileIdLists) {
        if (entry.type != type)
            continue;
        Qvp_File_Data_Node* group = FindFileDataNode(fileId);
        return group ? &(group->*entry.list) : nullptr;
    }
    return nullptr;
}

template<typename Visit>
void CQvpFile::ForEachNode(Visit visit) const {
    for (Qvp_Node* node = m_pPathTableList; node; node = node->pNext)
        visit(node, QvpNodePathTable);
    for (Qvp_File_Data_Node* group = m_pFileDataList; group; group = group->pNext) {
        for (const ListOfType& entry : FileIdLists) {
            for (Qvp_Node* node = group->*entry.list; node; node = node->pNext)
                visit(node, entry.type);
        }
    }
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
        for (const ListOfType& entry : FileIdLists)
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
    return MustRecreate() ? RecreateFile() : UpdateFile();
}

bool CQvpFile::MustRecreate() {
    if (!CUtility::CheckFileExistence(m_pszPath.get()) || ShouldRewrite())
        return true;
    return (HasNode(IsNew) && EndsInTornRecord()) || (HasNode(IsUnsaved) && IsFileShorter());
}

int CQvpFile::ShouldRewrite() {
    QvpRecordScan scan(m_nImageSize);
    QvpRecord record = {};
    std::uint32_t freeData = 0;
    while (scan.Next(m_pImage.get(), &record)) {
        if (record.nType != QvpNodeFree)
            continue;
        if (record.nLength > QvpFormat::MaxFreeData - freeData)
            return 1;
        freeData += record.nLength;
    }
    return 0;
}

// A file that someone cut short cannot be updated at offsets it no longer has, but the image still
// holds all of it.
bool CQvpFile::IsFileShorter() const {
    struct stat status = {};
    return stat(m_pszPath.get(), &status) == 0 && status.st_size < m_nImageSize;
}

// Whatever is appended behind a record that was cut off while it was written would be taken for its
// missing bytes.
bool CQvpFile::EndsInTornRecord() const {
    QvpRecordScan scan(m_nImageSize);
    QvpRecord record = {};
    while (scan.Next(m_pImage.get(), &record)) {
    }
    return !scan.ReachedEnd();
}

bool CQvpFile::HasNode(bool (*predicate)(const Qvp_Node*)) const {
    bool bFound = false;
    ForEachNode([&bFound, predicate](const Qvp_Node* node, QvpNodeType) {
        bFound = bFound || predicate(node);
    });
    return bFound;
}

// --- flushing -----------------------------------------------------------------------------------

// Unbuffered: every record reaches the system in its turn, and one that failed leaves nothing to be
// written later.
QVRESULT CQvpFile::UpdateFile() {
    if (!m_pFileDataList && !m_pPathTableList)
        return QV_S_OK;
    const FilePtr file(OpenUnbuffered(m_pszPath.get(), "r+b"));
    if (!file)
        return QV_E_FAIL;
    const bool bChanged = HasNode(IsUnsaved);
    SaveQvpNodeToFile(file.get(), m_pPathTableList, 0, 1);
    SaveChangesToFile(file.get(), m_pFileDataList, 0, 1);
    if (bChanged)
        fsync(fileno(file.get()));
    return QV_S_OK;
}

QVRESULT CQvpFile::RecreateFile() {
    std::size_t count = 0;
    ForEachNode([&count](Qvp_Node*, QvpNodeType) { ++count; });
    NodePlaces places(count);
    if (!places.IsValid())
        return QV_E_OUTOFMEMORY;
    ReplacementFile replacement;
    if (!replacement.Open(m_pszPath.get()))
        return QV_E_FAIL;

    // Records appended since the file was read are not in the image and are written as new ones.
    ForEachNode([&places](Qvp_Node* node, QvpNodeType) {
        places.Note(node);
        if (!node->bBorrowed)
            node->nOffset = 0;
    });
    if (!WriteContent(replacement.File()) || !replacement.Close()) {
        places.Restore();
        return QV_S_OK;
    }
    Image image;
    long size = 0;
    const FilePtr written(std::fopen(replacement.Path(), "rb"));
    if (!written || ReadImage(written.get(), &image, &size) != QV_S_OK ||
        !replacement.PutInPlace()) {
        places.Restore();
        return QV_E_FAIL;
    }
    AdoptImage(std::move(image), size);
    return QV_S_OK;
}

bool CQvpFile::WriteContent(std::FILE* file) {
    return SaveValidContentToFile(file) && SaveChangesToFile(file, m_pFileDataList, 1, 1) &&
           SaveQvpNodeToFile(file, m_pPathTableList, 1, 1);
}

int CQvpFile::SaveValidContentToFile(std::FILE* file) {
    MarkFreedRecords(true);
    int written = std::fwrite(m_pImage.get(), QvpFormat::HeaderSize, 1, file) == 1;
    QvpRecordScan scan(m_nImageSize);
    QvpRecord record = {};
    while (written && scan.Next(m_pImage.get(), &record)) {
        if (record.nType == QvpNodeFree || !record.bWhole)
            continue;
        const std::size_t size = QvpFormat::RecordHeaderSize + std::size_t{record.nLength};
        written = std::fwrite(m_pImage.get() + record.nOffset, 1, size, file) == size;
    }
    MarkFreedRecords(false);
    return written;
}

int CQvpFile::SaveChangesToFile(std::FILE* file, Qvp_File_Data_Node* groups, int rewrite,
                                int clearModified) {
    int written = 1;
    for (; groups; groups = groups->pNext) {
        for (const ListOfType& entry : FileIdLists)
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
        if (node->nLength == 0 || !node->pData)
            continue;
        if (node->nOffset != 0)
            written &= OverwriteQvpRecord(file, *node);
        else if (node->nType != QvpNodeFree)
            written &= AppendQvpRecord(file, *node, &node->nOffset);
    }
    return written;
}

// --- moving to a new image ----------------------------------------------------------------------

// Shows in the image's type bytes which loaded records have been freed since, or takes that back.
void CQvpFile::MarkFreedRecords(bool freed) {
    ForEachNode([this, freed](const Qvp_Node* node, QvpNodeType type) {
        if (node->bBorrowed && node->nType == QvpNodeFree)
            m_pImage[static_cast<std::size_t>(node->nOffset)] =
                static_cast<unsigned char>(freed ? QvpNodeFree : type);
    });
}

// Leaves in the old image, over the id and length of each record that was copied, the offset it was
// copied to. The order and the choice are those of SaveValidContentToFile.
void CQvpFile::ForwardOffsets() {
    MarkFreedRecords(true);
    QvpRecordScan scan(m_nImageSize);
    QvpRecord record = {};
    std::uint64_t offset = QvpFormat::FirstRecordOffset;
    while (scan.Next(m_pImage.get(), &record)) {
        if (record.nType == QvpNodeFree || !record.bWhole)
            continue;
        unsigned char* header = m_pImage.get() + record.nOffset;
        StoreLE32(header + QvpFormat::RecordIdAt, static_cast<std::uint32_t>(offset));
        StoreLE32(header + QvpFormat::RecordLengthAt, static_cast<std::uint32_t>(offset >> 32));
        offset += QvpFormat::RecordHeaderSize + std::uint64_t{record.nLength};
    }
}

void CQvpFile::AdoptImage(Image image, long size) {
    ForwardOffsets();
    ForEachNode([this, &image](Qvp_Node* node, QvpNodeType) {
        node->bModified = 0;
        if (node->bBorrowed && node->nType == QvpNodeFree) {
            KeepFreedNode(node);
        } else if (node->bBorrowed) {
            const unsigned char* header = m_pImage.get() + node->nOffset;
            const std::uint64_t high = LoadLE32(header + QvpFormat::RecordLengthAt);
            const std::uint64_t low = LoadLE32(header + QvpFormat::RecordIdAt);
            Repoint(node, static_cast<long>(high << 32 | low), image.get());
        } else if (node->nOffset != 0) {
            delete[] node->pData;
            Repoint(node, node->nOffset, image.get());
        }
    });
    m_pImage = std::move(image);
    m_nImageSize = size;
}

void CQvpFile::Repoint(Qvp_Node* node, long offset, unsigned char* image) {
    node->nOffset = offset;
    node->pData = image + offset + QvpFormat::RecordHeaderSize;
    node->bBorrowed = 1;
}

// A freed record is not in the new file, but a list that grows again may use its node: it becomes a
// record that was never written. Without memory for its data it stays free for good.
void CQvpFile::KeepFreedNode(Qvp_Node* node) {
    auto* copy = new (std::nothrow) unsigned char[node->nLength];
    if (copy)
        std::memcpy(copy, node->pData, node->nLength);
    else
        node->nLength = 0;
    node->pData = copy;
    node->nOffset = 0;
    node->bBorrowed = 0;
}

} // namespace QvFormat
