#pragma once

#include "QvBookSource.h"
#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

class IBookAnnotation;

// The book-information record of one book: what describes it, where it came from and where it was
// left. One thread at a time for the proxy and the entity it comes from, which must outlive it. The
// order of the operations is that of their virtual slots.
//
// All return QV_E_NOTREADY without a container and QV_E_INVALIDARG for a null pointer. A getter
// returns QV_E_FAIL when there is no record yet; the first setter makes one, its fields empty or 0.
// A damaged record gives QV_E_FAIL from every operation and is never replaced.
//
// Strings are NUL-terminated bytes in any encoding. A string handed out is a new copy that the
// caller releases with delete[]; the pointer is null on QV_E_FAIL (the stored string is damaged)
// and QV_E_OUTOFMEMORY. What is set reaches the file when the entity is flushed or released.
class UMDFORMAT_API IBookInfoProxy {
public:
    virtual ~IBookInfoProxy();

    // Strings that describe the book; see above.
    virtual QVRESULT GetBookName(char** name) = 0;
    virtual QVRESULT GetAuthorName(char** name) = 0;
    virtual QVRESULT GetCoverPagePath(char** path) = 0;
    virtual QVRESULT GetPublisherName(char** name) = 0;
    virtual QVRESULT GetISBN(char** isbn) = 0;

    // As it was set, in its low 8 bits.
    virtual QVRESULT GetBookSource(QvBookSource* source) = 0;

    // A number in the application's unit; the library does not use it.
    virtual QVRESULT GetReadingProgress(unsigned int* progress) = 0;

    // 1 for a serialized publication, else 0.
    virtual QVRESULT GetIsSerialized(int* serialized) = 0;

    // QV_E_FAIL also when the book is not marked serialized.
    virtual QVRESULT GetLatestSection(char** section) = 0;
    virtual QVRESULT GetSummary(char** summary) = 0;

    // Where the book was left, as a new annotation of type QvAnnotationPosition that the caller
    // releases with delete. A new record holds block 0, offset 0.
    virtual QVRESULT GetReadingBookmark(IBookAnnotation** bookmark) = 0;

    // `length` is the string's in bytes without its NUL; a NUL before it ends the string. In a
    // record made by this library the name, author and publisher take 199 bytes, cover page path
    // and latest section 511, the ISBN 99 and the summary 1023.
    // QV_E_INVALIDARG: longer than that; the stored string stays.
    virtual QVRESULT SetBookName(char const* name, unsigned int length) = 0;
    virtual QVRESULT SetAuthorName(char const* name, unsigned int length) = 0;
    virtual QVRESULT SetCoverPagePath(char const* path, unsigned int length) = 0;
    virtual QVRESULT SetPublisherName(char const* name, unsigned int length) = 0;
    virtual QVRESULT SetISBN(char const* isbn, unsigned int length) = 0;

    // Any number.
    virtual QVRESULT SetReadingProgress(unsigned int progress) = 0;

    // Keeps the low 8 bits.
    virtual QVRESULT SetBookSource(QvBookSource source) = 0;

    // Any value but 0 marks the book serialized.
    virtual QVRESULT SetIsSerialized(int serialized) = 0;
    virtual QVRESULT SetLatestSection(char const* section, unsigned int length) = 0;
    virtual QVRESULT SetSummary(char const* summary, unsigned int length) = 0;

    // Stores a copy; `bookmark` stays the caller's. QV_E_FAIL: it does not fit the record, which
    // stays as it was (a position or a range always fits a record made by this library, a comment
    // up to 6 bytes).
    virtual QVRESULT SetReadingBookmark(IBookAnnotation* bookmark) = 0;
};

} // namespace QvFormat
