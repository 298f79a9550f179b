#pragma once

#include "IBookInfoProxy.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

class CQvpFile;

// The book-information record of one file id in a container, which must outlive the proxy and is
// used by the same thread. The proxy finds the record at its first operation and keeps to it.
class UMDFORMAT_API CBookInfoProxyImpl : public IBookInfoProxy {
public:
    // Works on the records of `fileId` in `file`; null: every operation gives QV_E_NOTREADY.
    CBookInfoProxyImpl(CQvpFile* file, unsigned int fileId);
    ~CBookInfoProxyImpl() override;

    QVRESULT GetBookName(char** name) override;
    QVRESULT GetAuthorName(char** name) override;
    QVRESULT GetCoverPagePath(char** path) override;
    QVRESULT GetPublisherName(char** name) override;
    QVRESULT GetISBN(char** isbn) override;
    QVRESULT GetBookSource(QvBookSource* source) override;
    QVRESULT GetReadingProgress(unsigned int* progress) override;
    QVRESULT GetIsSerialized(int* serialized) override;
    QVRESULT GetLatestSection(char** section) override;
    QVRESULT GetSummary(char** summary) override;
    QVRESULT GetReadingBookmark(IBookAnnotation** bookmark) override;

    QVRESULT SetBookName(char const* name, unsigned int length) override;
    QVRESULT SetAuthorName(char const* name, unsigned int length) override;
    QVRESULT SetCoverPagePath(char const* path, unsigned int length) override;
    QVRESULT SetPublisherName(char const* name, unsigned int length) override;
    QVRESULT SetISBN(char const* isbn, unsigned int length) override;
    QVRESULT SetReadingProgress(unsigned int progress) override;
    QVRESULT SetBookSource(QvBookSource source) override;
    QVRESULT SetIsSerialized(int serialized) override;
    QVRESULT SetLatestSection(char const* section, unsigned int length) override;
    QVRESULT SetSummary(char const* summary, unsigned int length) override;
    QVRESULT SetReadingBookmark(IBookAnnotation* bookmark) override;

protected:
    // Finds the record, which is the first node of its list, and in it the fields. Flags: 1
    // success, 0 failure.
    int AttachDataNode();
    int ParseDataNode();
    // Takes the slot at `*position`: stores where it begins and steps over it.
    int ProcessRawBlock(unsigned char const* data, unsigned int length, int* position,
                        unsigned int* slotOffset);
    // A new record with empty slots, not yet the container's; null when memory runs out.
    Qvp_Node* CreateQvpNode();
    // Makes a missing record unless `readOnly`.
    int InitializeAttachedDataNode(int readOnly);

    // The access to a string once its slot is known.
    QVRESULT ReadData(unsigned int slotOffset, char** out);
    QVRESULT WriteData(unsigned int slotOffset, char const* text, unsigned int length);

    unsigned int m_nBookNameOffset = 0;
    unsigned int m_nAuthorNameOffset = 0;
    unsigned int m_nCoverPagePathOffset = 0;
    unsigned int m_nPublisherNameOffset = 0;
    unsigned int m_nISBNOffset = 0;
    unsigned int m_nBookSourceOffset = 0;
    unsigned int m_nReadingProgressOffset = 0;
    unsigned int m_nIsSerializedOffset = 0;
    unsigned int m_nLatestSectionOffset = 0;
    unsigned int m_nSummaryOffset = 0;
    unsigned int m_nReadingBookmarkOffset = 0;
    int m_bParsed = 0; // 1 once the offsets above are those of m_pNode's data
    CQvpFile* m_pFile;
    unsigned int m_nFileId;
    Qvp_Node* m_pNode = nullptr; // the container's

private:
    // A field's offset, by the member that holds it once the record is parsed.
    using Offset = unsigned int CBookInfoProxyImpl::*;
    struct Slot {         // as a new record has it
        unsigned int gap; // bytes of other fields before it
        unsigned int capacity;
        Offset offset;
    };
    UMDFORMAT_HIDDEN static const Slot kSlots[];

    // What every operation begins with, unless it is refused: finds the record, or makes it unless
    // `readOnly`.
    UMDFORMAT_HIDDEN QVRESULT Prepare(QVRESULT refused, int readOnly);

    UMDFORMAT_HIDDEN QVRESULT GetString(Offset slot, char** out);
    UMDFORMAT_HIDDEN QVRESULT SetString(Offset slot, char const* text, unsigned int length);
    // Stores the low `size` bytes of a number.
    UMDFORMAT_HIDDEN QVRESULT SetNumber(Offset field, unsigned int number, std::size_t size);
    unsigned char* Field(unsigned int offset) { return m_pNode->pData + offset; }
};

static_assert(sizeof(void*) != 4 || sizeof(CBookInfoProxyImpl) == 64);

} // namespace QvFormat
