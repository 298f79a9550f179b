#pragma once

#include <cstdio>
#include <memory>

#include "IBookInfoEntity.h"
#include "QvExport.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

class QvpRecordScan;
struct QvpRecord;

// One reading-data file in memory: loads its records when a proxy first asks for them and writes
// changed and new ones back. docs/reading-data-format.md describes the file and how it is changed.
//
// Opened by path, the container holds the whole file (the image), and the nodes of loaded records
// point into it. Opened on a stream it reads records as they are needed and never writes. There is
// no close; the destructor of a container opened by path flushes. One thread at a time, one
// container on a file at a time.
class UMDFORMAT_API CQvpFile : public IBookInfoEntity {
public:
    CQvpFile();
    CQvpFile(const CQvpFile&) = delete;
    CQvpFile& operator=(const CQvpFile&) = delete;
    ~CQvpFile() override;

    // Opens a reading-data file; with `create` nonzero a missing one is made first.
    // QV_E_INVALIDARG: null. QV_E_OUTOFMEMORY: the container stays closed.
    // QV_E_FAIL: already open, missing, unreadable, not complete in memory, or no such file.
    QVRESULT Open(char const* path, int create);

    // Opens a reading-data file on a stream, which stays the caller's and must outlive the
    // container. QV_E_INVALIDARG: null. QV_E_FAIL: already open, not readable, or no such file.
    QVRESULT Open(IQVSequentialStream* stream);

    QVRESULT GetInfoProxy(IBookInfoProxy** proxy, unsigned int fileId) override;
    QVRESULT GetIndexProxy(IBookIndexProxy** proxy, unsigned int fileId) override;
    // QV_E_NOTIMPL: applications construct a CBookAnnotationListProxy on the container.
    QVRESULT GetAnnotationProxy(IBookAnnotationProxy** proxy, unsigned int fileId) override;
    QVRESULT GetTagProxy(IBookTagProxy** proxy, unsigned int fileId) override;
    QVRESULT GetPathTableProxy(IBookPathTableProxy** proxy) override;

    QVRESULT Save(char const* path) override;
    QVRESULT Save(IQVSequentialStream* stream) override;

    // Writes changed and new records. A file that is missing, cut short or full of dead space is
    // replaced as a whole; when that cannot be finished, the file and the changes stay as they are
    // for the next flush. On a stream nothing is written.
    // QV_S_OK also when a write failed. QV_E_NOTREADY: not open. QV_E_FAIL: the file could not be
    // opened or replaced. QV_E_OUTOFMEMORY: nothing is written.
    QVRESULT Flush() override;

    // Stores the head of the list of a type and file id, loaded when first asked for; null when the
    // file has no such record. For QvpNodePathTable the file id does not matter.
    // QV_E_NOTREADY: not open. QV_E_INVALIDARG: null, or type 0 or above 7.
    // QV_E_OUTOFMEMORY: the list could not be loaded; nothing may be appended to it.
    // QV_E_FAIL: no memory for the file id.
    QVRESULT AttachNodeList(QvpNodeType type, unsigned int fileId, Qvp_Node** head);

    // Takes over the nodes of a chain, each to the end of its list, which must have been attached
    // before. Nodes of type 0 or above 7 are unlinked and stay the caller's.
    // QV_E_NOTREADY: not open. QV_E_INVALIDARG: null.
    // QV_E_FAIL: no memory for a file id; that node and those behind it stay the caller's.
    QVRESULT AppendNodeList(Qvp_Node* chain);

    // Releases the nodes of a chain that no container has taken over.
    static void FreeDataList(Qvp_Node* list);

protected:
    using Image = std::unique_ptr<unsigned char[]>;

    // Opening.
    QVRESULT ReadImage(std::FILE* file, Image* image, long* size);
    int HandleHeader(unsigned char* header);

    // Reading records. Flags: 1 success, 0 failure.
    bool NextRecord(QvpRecordScan* scan, QvpRecord* record);
    int GetData(long offset, int size, unsigned char* out);
    int AttachDataBuffer(Qvp_Node* node, long offset, unsigned int size);
    QVRESULT LoadNodeList(QvpNodeType type, unsigned int fileId, Qvp_Node** head);
    Qvp_File_Data_Node* FindFileDataNode(unsigned int fileId);

    // Where the head of a list is kept; null for no such type or no memory.
    Qvp_Node** ListSlot(QvpNodeType type, unsigned int fileId);

    // Calls visit(node, list's type) for every node.
    template<typename Visit>
    void ForEachNode(Visit visit) const;

    // Deciding how to flush.
    int ShouldRewrite();
    bool MustRecreate();
    bool IsFileShorter() const;
    bool EndsInTornRecord() const;
    bool HasNode(bool (*predicate)(const Qvp_Node*)) const;

    // Flushing.
    QVRESULT UpdateFile();
    QVRESULT RecreateFile();
    bool WriteContent(std::FILE* file);
    int SaveValidContentToFile(std::FILE* file);
    static int SaveChangesToFile(std::FILE* file, Qvp_File_Data_Node* groups, int rewrite,
                                 int clearModified);
    static int SaveQvpNodeToFile(std::FILE* file, Qvp_Node* list, int rewrite, int clearModified);

    // Moving to a new image after the file was replaced.
    void MarkFreedRecords(bool freed);
    void ForwardOffsets();
    void AdoptImage(Image image, long size);
    void Repoint(Qvp_Node* node, long offset, unsigned char* image);
    static void KeepFreedNode(Qvp_Node* node);

    static void FreeFileDataList(Qvp_File_Data_Node* groups);

    int m_bFromPath = 0;
    std::unique_ptr<char[]> m_pszPath; // set by a successful Open by path only
    IQVSequentialStream* m_pStream = nullptr;
    Image m_pImage; // the file as it was read, with the proxies' changes to loaded records
    long m_nImageSize = 0;
    int m_bOpened = 0;
    Qvp_File_Data_Node* m_pFileDataList = nullptr; // newest first
    Qvp_Node* m_pPathTableList = nullptr;
    unsigned char m_nVersion = 0;
    unsigned char m_nRevision = 0;
};

static_assert(sizeof(void*) != 4 || sizeof(CQvpFile) == 40);

} // namespace QvFormat
