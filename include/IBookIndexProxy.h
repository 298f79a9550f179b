#pragma once

#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

// A list of integers kept with a book; what they mean is the application's. One thread at a time
// for the proxy and the entity it comes from, which must outlive it. The order of the operations is
// that of their virtual slots. Both return QV_E_NOTREADY without a container.
class UMDFORMAT_API IBookIndexProxy {
public:
    virtual ~IBookIndexProxy();

    // Stores a new array in `*entries`, which the caller releases with delete[], and its length in
    // `*count` when given. An empty list is a success with a null array.
    // QV_E_INVALIDARG: null `entries`. QV_E_FAIL: the file has no record of this list.
    // QV_E_OUTOFMEMORY. `*entries` is null on both.
    virtual QVRESULT GetIndexList(int** entries, unsigned int* count) = 0;

    // Replaces the whole list; `entries` may be null for a count of 0. The change reaches the file
    // at the next flush. QV_E_INVALIDARG: null, nothing changes.
    // QV_E_FAIL: a record could not be made; the entries before it stay.
    virtual QVRESULT SetIndexList(int* entries, unsigned int count) = 0;
};

} // namespace QvFormat
