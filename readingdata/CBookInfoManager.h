#pragma once

#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

class IBookInfoEntity;

// Finds the reading data that belong to a book.
class UMDFORMAT_API CBookInfoManager {
public:
    CBookInfoManager() = delete;

    // Opens the reading-data file of the book at `bookPath`, the file of the same name with ".qvp"
    // appended; with `create` nonzero a missing one is made. The caller releases `*entity` with
    // delete, which writes what was changed.
    // QV_E_INVALIDARG: a null, or an empty path. QV_E_OUTOFMEMORY: for the name.
    // QV_E_FAIL: the file cannot be opened or is no reading-data file. `*entity` is null on both.
    static QVRESULT GetBookInfoEntity(char const* bookPath, IBookInfoEntity** entity, int create);
};

} // namespace QvFormat
