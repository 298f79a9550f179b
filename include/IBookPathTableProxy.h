#pragma once

#include <cstddef>

#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

// One entry of the path table. The values are the application's, kept unchanged.
struct QvpPathItem {
    unsigned int nValue0; // the application's
    unsigned int nValue1; // the application's
    char* pszPath;        // NUL-terminated, at most 499 bytes
};

static_assert(offsetof(QvpPathItem, pszPath) == 8);
static_assert(sizeof(void*) != 4 || sizeof(QvpPathItem) == 12);

// The one path table of a reading-data file. One thread at a time for the proxy and the entity it
// comes from, which must outlive it. The order of the operations is that of their virtual slots.
// Both return QV_E_NOTREADY without a container.
class UMDFORMAT_API IBookPathTableProxy {
public:
    virtual ~IBookPathTableProxy();

    // Stores a new array in `*items`; the caller releases each pszPath and then the array with
    // delete[]. `*count`, when given, becomes the array's length. An empty table is a success with
    // a null array. QV_E_INVALIDARG: null `items`. QV_E_FAIL: the file has no record of the table,
    // or a damaged one. QV_E_OUTOFMEMORY. `*items` is null on both.
    virtual QVRESULT GetPathTable(QvpPathItem** items, unsigned int* count) = 0;

    // Replaces the whole table; `items` may be null for a count of 0. The change reaches the file
    // at the next flush. QV_E_INVALIDARG: a null, or a path that is too long; nothing changes.
    // QV_E_FAIL: a record could not be made; the items before it stay.
    virtual QVRESULT SetPathTable(QvpPathItem* items, unsigned int count) = 0;
};

} // namespace QvFormat
