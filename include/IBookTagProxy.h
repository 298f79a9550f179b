#pragma once

#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

// A list of tags kept with a book: NUL-terminated strings of at most 49 bytes in any encoding. One
// thread at a time for the proxy and the entity it comes from, which must outlive it. The order of
// the operations is that of their virtual slots. Both return QV_E_NOTREADY without a container.
class UMDFORMAT_API IBookTagProxy {
public:
    virtual ~IBookTagProxy();

    // Stores a new array of new strings in `*tags`; the caller releases each string and then the
    // array with delete[]. `*count`, when given, becomes the number of strings; the array may hold
    // nulls after them, where the file has a damaged tag. An empty list is a success with a null
    // array. QV_E_INVALIDARG: null `tags`. QV_E_FAIL: the file has no record of this list.
    // QV_E_OUTOFMEMORY. `*tags` is null on both.
    virtual QVRESULT GetTagList(char*** tags, unsigned int* count) = 0;

    // Replaces the whole list; `tags` may be null for a count of 0. The change reaches the file at
    // the next flush. QV_E_INVALIDARG: a null, or a tag that is too long; nothing changes.
    // QV_E_FAIL: a record could not be made; the tags before it stay.
    virtual QVRESULT SetTagList(char** tags, unsigned int count) = 0;
};

} // namespace QvFormat
