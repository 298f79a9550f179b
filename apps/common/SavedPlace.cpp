#include "common/SavedPlace.h"

#include <filesystem>
#include <memory>

#include "IBookInfoProxy.h"
#include "base/CFileStream.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookInfoManager.h"
#include "readingdata/CQvpFile.h"

namespace umdhost {

using namespace QvFormat;

namespace {

std::unique_ptr<IBookInfoProxy> BookInfoOf(IBookInfoEntity& entity) {
    IBookInfoProxy* proxy = nullptr;
    entity.GetInfoProxy(&proxy, kCommonFileId);
    return std::unique_ptr<IBookInfoProxy>(proxy);
}

std::optional<Place> PlaceIn(IBookInfoProxy& info) {
    IBookAnnotation* delivered = nullptr;
    info.GetReadingBookmark(&delivered);
    const std::unique_ptr<IBookAnnotation> bookmark(delivered);
    Place place;
    if (bookmark == nullptr || bookmark->GetBlockIndex(&place.block) != QV_S_OK ||
        bookmark->GetOffset(&place.offset) != QV_S_OK)
        return std::nullopt;
    return place;
}

} // namespace

std::string ReadingDataPath(const std::string& book) {
    return book + ".qvp";
}

std::optional<Place> ReadPlace(const std::string& book) {
    const std::string path = ReadingDataPath(book);
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return std::nullopt;
    CFileStream stream(reinterpret_cast<const unsigned char*>(path.c_str()), FileOpenRead);
    CQvpFile file; // on a stream it never writes
    if (file.Open(&stream) != QV_S_OK)
        return std::nullopt;
    const auto info = BookInfoOf(file);
    return info == nullptr ? std::nullopt : PlaceIn(*info);
}

bool WritePlace(const std::string& book, const Place& place) {
    IBookInfoEntity* delivered = nullptr;
    CBookInfoManager::GetBookInfoEntity(book.c_str(), &delivered, 1);
    const std::unique_ptr<IBookInfoEntity> entity(delivered);
    if (entity == nullptr)
        return false;
    const auto info = BookInfoOf(*entity); // released before the entity
    CBookAnnotationImpl bookmark(QvAnnotationPosition);
    bookmark.SetBlockIndex(place.block);
    bookmark.SetOffset(place.offset);
    return info != nullptr && info->SetReadingBookmark(&bookmark) == QV_S_OK &&
           entity->Flush() == QV_S_OK && ReadPlace(book) == place;
}

} // namespace umdhost
