#pragma once

#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

class IBookAnnotationProxy;
class IBookIndexProxy;
class IBookInfoProxy;
class IBookPathTableProxy;
class IBookTagProxy;
class IQVSequentialStream;

// The file id of path-table records and of the renderer's book-information record.
constexpr unsigned int kCommonFileId = 0xFFFFFFFF;

// The reading-data file of one book: hands out proxies that read and change its records, and writes
// the changes back. The receiver owns each proxy, releases it with delete, and must do so before it
// releases the entity. File ids keep apart the records of several books in one file.
//
// The getters set nothing and return QV_E_NOTREADY when no file is open, QV_E_INVALIDARG for a null
// pointer. The order of the operations is that of their virtual slots.
class UMDFORMAT_API IBookInfoEntity {
public:
    virtual ~IBookInfoEntity();

    // Store a new proxy for the records of `fileId`, or for the one path table.
    // QV_E_OUTOFMEMORY: `*proxy` is null.
    virtual QVRESULT GetInfoProxy(IBookInfoProxy** proxy, unsigned int fileId) = 0;
    virtual QVRESULT GetIndexProxy(IBookIndexProxy** proxy, unsigned int fileId) = 0;
    virtual QVRESULT GetAnnotationProxy(IBookAnnotationProxy** proxy, unsigned int fileId) = 0;
    virtual QVRESULT GetTagProxy(IBookTagProxy** proxy, unsigned int fileId) = 0;
    virtual QVRESULT GetPathTableProxy(IBookPathTableProxy** proxy) = 0;

    // Not provided: QV_E_NOTIMPL.
    virtual QVRESULT Save(char const* path) = 0;
    virtual QVRESULT Save(IQVSequentialStream* stream) = 0;

    // Writes changed and new records to the file. QV_E_FAIL: the file could not be opened.
    virtual QVRESULT Flush() = 0;
};

} // namespace QvFormat
