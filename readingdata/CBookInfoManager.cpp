#include "readingdata/CBookInfoManager.h"

#include <cstdio>
#include <memory>
#include <new>

#include "base/Handles.h"
#include "readingdata/CQvpFile.h"

namespace QvFormat {

QVRESULT CBookInfoManager::GetBookInfoEntity(char const* bookPath, IBookInfoEntity** entity,
                                             int create) {
    if (!bookPath || !entity || !*bookPath)
        return QV_E_INVALIDARG;
    *entity = nullptr;
    std::unique_ptr<CQvpFile> file(new (std::nothrow) CQvpFile);
    if (!file)
        return QV_E_FAIL;
    char* delivered = nullptr;
    if (asprintf(&delivered, "%s.qvp", bookPath) < 0)
        return QV_E_OUTOFMEMORY;
    const MallocPtr<char> name(delivered);
    if (file->Open(name.get(), create) != QV_S_OK)
        return QV_E_FAIL;
    *entity = file.release();
    return QV_S_OK;
}

} // namespace QvFormat
