#include "render/ReadingPosition.h"

#include <memory>

#include "IBookAnnotation.h"
#include "IBookInfoEntity.h"
#include "IBookInfoProxy.h"
#include "readingdata/CBookAnnotationImpl.h"

namespace QvFormat {

namespace {

std::unique_ptr<IBookInfoProxy> BookInfo(IBookInfoEntity* entity) {
    IBookInfoProxy* proxy = nullptr;
    if (entity)
        entity->GetInfoProxy(&proxy, kCommonFileId);
    return std::unique_ptr<IBookInfoProxy>(proxy);
}

} // namespace

void RestoreReadingPosition(IBookInfoEntity* entity, BookPosition* place) {
    const std::unique_ptr<IBookInfoProxy> info = BookInfo(entity);
    if (!info)
        return;
    IBookAnnotation* delivered = nullptr;
    info->GetReadingBookmark(&delivered);
    const std::unique_ptr<IBookAnnotation> bookmark(delivered);
    if (!bookmark)
        return;
    unsigned int value = 0;
    if (bookmark->GetBlockIndex(&value) == QV_S_OK)
        place->block = static_cast<int>(value);
    if (bookmark->GetOffset(&value) == QV_S_OK)
        place->offset = static_cast<int>(value);
}

void SaveReadingPosition(IBookInfoEntity* entity, const BookPosition& place) {
    const std::unique_ptr<IBookInfoProxy> info = BookInfo(entity);
    if (!info)
        return;
    CBookAnnotationImpl bookmark(QvAnnotationPosition);
    if (bookmark.SetBlockIndex(static_cast<unsigned int>(place.block)) != QV_S_OK ||
        bookmark.SetOffset(static_cast<unsigned int>(place.offset)) != QV_S_OK)
        return;
    if (info->SetReadingBookmark(&bookmark) == QV_S_OK)
        entity->Flush();
}

} // namespace QvFormat
