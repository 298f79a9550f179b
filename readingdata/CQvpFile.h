#pragma once

#include <cstdio>
#include <memory>

#include "IBookInfoEntity.h"
#include "QvExport.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

class NodePlaces;
enum class Replacement;
struct QvpRecord;

// One reading-data file in memory: loads its records when a proxy first asks for them and writes
// changed and new ones back. docs/reading-data-format.md describes the file and how it is changed.
//
// One thread at a time. The container owns what it has loaded; the proxies made on it keep pointers
// into it and must be released first. There is no close: the destructor of a container opened by
// path flushes what is not flushed yet.
//
// Opened by path, the container holds the whole file (the image), and the nodes of loaded records
// point into it. Opened on a stream it reads records as they are needed and never writes. Several
// containers on one file leave it whole; of a list that two of them change, one's version stays.
class UMDFORMAT_API CQvpFile : public IBookInfoEntity {
public:
    CQvpFile();
    CQvpFile(const CQvpFile&) = delete;
    CQvpFile& operator=(const CQvpFile&) = delete;
    ~CQvpFile() override;

    // Opens a reading-data file; with `create` nonzero a missing one is made first.
    // QV_E_INVALIDARG: null. QV_E_OUTOFMEMORY: the container stays closed.
    // QV_E_FAIL: already open, missing, unreadable, no regular file, or no reading-data file.
    QVRESULT Open(char const* path, int create);

    // Opens a reading-data file on a stream, which stays the caller's and must outlive the
    // container. QV_E_INVALIDARG: null. QV_E_FAIL: already open, not readable, or no reading-data
    // file.
    QVRESULT Open(IQVSequentialStream* stream);

    QVRESULT GetInfoProxy(IBookInfoProxy** proxy, unsigned int fileId) override;
    QVRESULT GetIndexProxy(IBookIndexProxy** proxy, unsigned int fileId) override;
    // QV_E_NOTIMPL: applications construct a CBookAnnotationListProxy on the container.
    QVRESULT GetAnnotationProxy(IBookAnnotationProxy** proxy, unsigned int fileId) override;
    QVRESULT GetTagProxy(IBookTagProxy** proxy, unsigned int fileId) override;
    QVRESULT GetPathTableProxy(IBookPathTableProxy** proxy) override;

    QVRESULT Save(char const* path) override;
    QVRESULT Save(IQVSequentialStream* stream) override;

    // Writes changed and new records. A file that is missing, cut short, torn at its end or full of
    // dead space is compacted instead; when that cannot be done, it is updated in place as far as
    // that is safe, and the rest waits for the next flush. On a stream nothing is written.
    // QV_S_OK also when a write failed. QV_E_NOTREADY: not open. QV_E_FAIL: the file could not be
    // opened.
    QVRESULT Flush() override;

    // Stores the head of the list of a type and file id, loaded when first asked for; null when the
    // file has no such record. For QvpNodePathTable the file id does not matter.
    // QV_E_NOTREADY: not open. QV_E_INVALIDARG: null, or type 0 or above 7.
    // QV_E_OUTOFMEMORY, or QV_E_FAIL without memory for the file id: the list could not be loaded,
    // and nothing may be appended to it.
    QVRESULT AttachNodeList(QvpNodeType type, unsigned int fileId, Qvp_Node** head);

    // Takes over the nodes of a chain, each to the end of its list, which must have been attached
    // before. Nodes of type 0 or above 7 are unlinked and stay the caller's.
    // QV_E_NOTREADY: not open. QV_E_INVALIDARG: null.
    // QV_E_FAIL: no memory for a file id; that node and those after it stay the caller's.
    QVRESULT AppendNodeList(Qvp_Node* chain);

    // Releases the nodes of a chain that no container has taken over.
    static void FreeDataList(Qvp_Node* list);

protected:
    // Opening and reading. Flags: 1 success, 0 failure.
    int HandleHeader(unsigned char* header);
    int GetData(long offset, int size, unsigned char* out);
    int AttachDataBuffer(Qvp_Node* node, long offset, unsigned int size);
    QVRESULT LoadNodeList(QvpNodeType type, unsigned int fileId, Qvp_Node** head);
    // The lists of a file id, made when missing; null when memory runs out.
    Qvp_File_Data_Node* FindFileDataNode(unsigned int fileId);

    // Flushing. 1 when the image holds so much dead space that a flush compacts the file.
    int ShouldRewrite();
    // Writes the header and the live records of the image, those with a node as the node has them.
    // Every node is told the offset of its record, or 0 when it was not written.
    int SaveValidContentToFile(std::FILE* file);
    static int SaveChangesToFile(std::FILE* file, Qvp_File_Data_Node* groups, int rewrite,
                                 int clearModified);
    static int SaveQvpNodeToFile(std::FILE* file, Qvp_Node* list, int rewrite, int clearModified);

    static void FreeFileDataList(Qvp_File_Data_Node* groups);

    int m_bFromPath = 0;
    std::unique_ptr<char[]> m_pszPath; // set by a successful Open by path only
    IQVSequentialStream* m_pStream = nullptr;
    std::unique_ptr<unsigned char[]> m_pImage; // the file as it was read, with the proxies' changes
    long m_nImageSize = 0;
    int m_bOpened = 0;
    Qvp_File_Data_Node* m_pFileDataList = nullptr; // newest first
    Qvp_Node* m_pPathTableList = nullptr;
    unsigned char m_nVersion = 0;
    unsigned char m_nRevision = 0;

private:
    using Image = std::unique_ptr<unsigned char[]>;
    // What a flush has to do, and what it expects of the file.
    struct Pending {
        bool isNew;      // a record that is to be appended
        bool isModified; // a record that is to be written over itself
        long knownSize;  // of the file, if nobody else has changed it
        long knownEnd; // of the last known record; beyond that size when others appended before it

        bool IsUnsaved() const { return isNew || isModified; }
    };

    UMDFORMAT_HIDDEN QVRESULT ReadImage(const char* path, Image* image, long* size);

    // Where the head of a list is kept; null for no such type or a file id that is not in use.
    UMDFORMAT_HIDDEN Qvp_Node** FindList(unsigned int type, unsigned int fileId);
    // The list of a record in the file; null when it is not loaded.
    UMDFORMAT_HIDDEN Qvp_Node* LoadedList(const QvpRecord& record);
    template<typename Visit>
    void ForEachNode(Visit visit) const;
    UMDFORMAT_HIDDEN NodePlaces Places() const;

    UMDFORMAT_HIDDEN Pending FindPending() const;
    UMDFORMAT_HIDDEN bool MayAppend(bool isChanged);
    UMDFORMAT_HIDDEN QVRESULT UpdateFile(bool mayAppend);
    UMDFORMAT_HIDDEN Replacement CompactFile(bool isChanged);
    UMDFORMAT_HIDDEN bool IsCutShort(const unsigned char* file, long size) const;
    UMDFORMAT_HIDDEN void SwapImage(Image* image, long* size);
    UMDFORMAT_HIDDEN bool WriteContent(std::size_t room, Image* content, long* size);
    UMDFORMAT_HIDDEN void AdoptImage(Image image, long size);

    bool m_bFlushed = false; // once; what changed since, the nodes say
};

static_assert(sizeof(void*) != 4 || sizeof(CQvpFile) == 40);

} // namespace QvFormat
