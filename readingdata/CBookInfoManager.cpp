#include "readingdata/CBookInfoManager.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "base/OwnedArray.h"
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
    constexpr char extension[] = ".qvp";
    const std::size_t length = std::strlen(bookPath);
    const OwnedArray<char> name = NewArray<char>(length + sizeof extension);
    if (!name)
        return QV_E_OUTOFMEMORY;
    std::copy_n(extension, sizeof extension, std::copy_n(bookPath, length, name.get()));
    if (file->Open(name.get(), create) != QV_S_OK)
        return QV_E_FAIL;
    *entity = file.release();
    return QV_S_OK;
}

} // namespace QvFormat
