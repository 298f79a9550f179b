#pragma once

#include <memory>

#include "IBookAnnotation.h"

namespace QvFormat {

// An annotation in memory, of no container's. One thread at a time. It owns its comment, and copies
// what it takes and hands out. Its type is fixed; everything else may change. In the stored form
// all numbers take 4 bytes: block index, offset, for a range and a comment the length, and for a
// comment its bytes with a NUL (docs/reading-data-format.md).
class UMDFORMAT_API CBookAnnotationImpl : public IBookAnnotation {
public:
    // Block index, offset and length are 0, and there is no comment.
    explicit CBookAnnotationImpl(QvAnnotationType type);
    CBookAnnotationImpl(const CBookAnnotationImpl&) = delete;
    CBookAnnotationImpl& operator=(const CBookAnnotationImpl&) = delete;
    ~CBookAnnotationImpl() override;

    QVRESULT GetAnnotationType(QvAnnotationType* type) override;
    QVRESULT GetBookmarkType(QvBookmarkType* type) override;
    QVRESULT GetDataSize(unsigned int* size) override;
    QVRESULT GetBlockIndex(unsigned int* blockIndex) override;
    QVRESULT SetBlockIndex(unsigned int blockIndex) override;
    QVRESULT GetOffset(unsigned int* offset) override;
    QVRESULT SetOffset(unsigned int offset) override;
    QVRESULT GetLength(unsigned int* length) override;
    QVRESULT SetLength(unsigned int length) override;
    QVRESULT GetComment(char** comment) override;
    QVRESULT SetComment(char* comment) override;
    QVRESULT ReadData(unsigned char const* buffer, unsigned int size) override;
    QVRESULT WriteData(unsigned char* buffer, unsigned int size) override;

protected:
    QvAnnotationType m_eAnnotationType;
    unsigned int m_nBlockIndex = 0;
    unsigned int m_nOffset = 0;
    unsigned int m_nLength = 0;
    std::unique_ptr<char[]> m_pszComment;

private:
    // For the elements of an array, which the list proxy makes and gives their type.
    friend class CBookAnnotationListProxy;
    UMDFORMAT_HIDDEN CBookAnnotationImpl();
    // The comment as far as the type has one; "" for none.
    UMDFORMAT_HIDDEN const char* StoredComment() const;
};

static_assert(sizeof(void*) != 4 || sizeof(CBookAnnotationImpl) == 24);

} // namespace QvFormat
