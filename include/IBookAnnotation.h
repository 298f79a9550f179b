#pragma once

#include "QvAnnotationType.h"
#include "QvBookmarkType.h"
#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

// A marked place in a book: the block it begins in, the offset in that block, and by its type a
// length and a comment. One thread at a time. An annotation belongs to whoever received or made it
// and keeps nothing of what it is given. The order of the operations is that of their virtual
// slots.
//
// Getters return QV_E_INVALIDARG for a null pointer and store nothing then.
class UMDFORMAT_API IBookAnnotation {
public:
    virtual ~IBookAnnotation();

    // What the annotation carries, and what it is for; both stay as they are.
    virtual QVRESULT GetAnnotationType(QvAnnotationType* type) = 0;
    virtual QVRESULT GetBookmarkType(QvBookmarkType* type) = 0;

    // Bytes that WriteData needs. QV_E_FAIL: the type is none of QvAnnotationType.
    virtual QVRESULT GetDataSize(unsigned int* size) = 0;

    // Block of the book in which the annotation begins, and bytes into that block's UTF-8 text.
    virtual QVRESULT GetBlockIndex(unsigned int* blockIndex) = 0;
    virtual QVRESULT SetBlockIndex(unsigned int blockIndex) = 0;
    virtual QVRESULT GetOffset(unsigned int* offset) = 0;
    virtual QVRESULT SetOffset(unsigned int offset) = 0;

    // Length of the marked range. Every annotation keeps one; a position does not store it.
    virtual QVRESULT GetLength(unsigned int* length) = 0;
    virtual QVRESULT SetLength(unsigned int length) = 0;

    // A new copy of the comment that the caller releases with delete[].
    // QV_E_INVALIDARG: null pointer, or there is no comment. QV_E_OUTOFMEMORY.
    virtual QVRESULT GetComment(char** comment) = 0;

    // Keeps a copy of `comment`, NUL-terminated in any encoding without zero bytes.
    // QV_E_INVALIDARG: null. QV_E_OUTOFMEMORY: the old comment stays.
    virtual QVRESULT SetComment(char* comment) = 0;

    // Takes block index, offset, length and comment, as far as the type has them, from `size` bytes
    // in the stored form; the others stay. QV_E_INVALIDARG: null, too few bytes (nothing changes),
    // or a comment without its end (the numbers are taken over). QV_E_OUTOFMEMORY: no comment.
    virtual QVRESULT ReadData(unsigned char const* buffer, unsigned int size) = 0;

    // Writes the stored form. QV_E_INVALIDARG: null or too small a buffer; nothing is written.
    virtual QVRESULT WriteData(unsigned char* buffer, unsigned int size) = 0;
};

} // namespace QvFormat
