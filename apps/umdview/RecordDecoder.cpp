#include "RecordDecoder.h"

#include <memory>
#include <new>

#include "IBookAnnotation.h"
#include "IBookIndexProxy.h"
#include "IBookInfoProxy.h"
#include "IBookPathTableProxy.h"
#include "IBookTagProxy.h"
#include "QvpNodeType.h"
#include "base/LittleEndian.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"
#include "readingdata/CQvpFile.h"

namespace umdview {

using namespace QvFormat;

namespace {

// False for what the file does not hold.
bool Succeeded(QVRESULT result) {
    if (result == QV_E_OUTOFMEMORY)
        throw std::bad_alloc();
    return result == QV_S_OK;
}

template<typename Interface, typename Get>
std::unique_ptr<Interface> Obtain(Get get) {
    Interface* object = nullptr;
    Succeeded(get(&object));
    if (object == nullptr)
        throw std::bad_alloc();
    return std::unique_ptr<Interface>(object);
}

using String = std::unique_ptr<char[]>;

// --- lists: each hands over the entries that the library reads and returns their number ---------

long DecodeIndexList(CQvpFile& file, unsigned int id, const EntrySink& sink) {
    const auto proxy =
        Obtain<IBookIndexProxy>([&](auto** out) { return file.GetIndexProxy(out, id); });
    int* list = nullptr;
    unsigned int count = 0;
    Succeeded(proxy->GetIndexList(&list, &count));
    const std::unique_ptr<int[]> entries(list);
    for (unsigned int i = 0; i < count; ++i)
        sink(entries[i]);
    return count;
}

long DecodeTagList(CQvpFile& file, unsigned int id, const EntrySink& sink) {
    const auto proxy = Obtain<IBookTagProxy>([&](auto** out) { return file.GetTagProxy(out, id); });
    char** list = nullptr;
    unsigned int count = 0;
    Succeeded(proxy->GetTagList(&list, &count));
    const std::unique_ptr<char*[]> tags(list);
    for (unsigned int i = 0; i < count; ++i)
        sink(String(tags[i]).get());
    return count;
}

long DecodePathTable(CQvpFile& file, const EntrySink& sink) {
    const auto proxy =
        Obtain<IBookPathTableProxy>([&](auto** out) { return file.GetPathTableProxy(out); });
    QvpPathItem* list = nullptr;
    unsigned int count = 0;
    Succeeded(proxy->GetPathTable(&list, &count));
    const std::unique_ptr<QvpPathItem[]> items(list);
    for (unsigned int i = 0; i < count; ++i) {
        const String path(items[i].pszPath);
        sink({{"value0", items[i].nValue0}, {"value1", items[i].nValue1}, {"path", path.get()}});
    }
    return count;
}

Json ToJson(CBookAnnotationImpl& annotation) {
    unsigned int block = 0, offset = 0, length = 0;
    annotation.GetBlockIndex(&block);
    annotation.GetOffset(&offset);
    Json json = {{"block", block}, {"offset", offset}};
    auto type = QvAnnotationPosition;
    annotation.GetAnnotationType(&type);
    if (type != QvAnnotationPosition && annotation.GetLength(&length) == QV_S_OK)
        json["length"] = length;
    char* text = nullptr;
    Succeeded(annotation.GetComment(&text));
    if (const String comment{text})
        json["comment"] = comment.get();
    return json;
}

long DecodeAnnotations(CQvpFile& file, const QvpRecord& record, const EntrySink& sink) {
    CBookAnnotationListProxy proxy(&file, record.nId);
    const auto type = static_cast<QvAnnotationType>(record.nType - QvpNodePositionAnnotations);
    IBookAnnotation* list = nullptr;
    unsigned int count = 0;
    Succeeded(proxy.GetAnnotationList(type, &list, &count));
    const std::unique_ptr<CBookAnnotationImpl[]> annotations(
        static_cast<CBookAnnotationImpl*>(list));
    for (unsigned int i = 0; i < count; ++i)
        sink(ToJson(annotations[i]));
    return count;
}

long DecodeList(CQvpFile& file, const QvpRecord& record, const EntrySink& sink) {
    switch (record.nType) {
    case QvpNodePathTable:
        return DecodePathTable(file, sink);
    case QvpNodeIndexList:
        return DecodeIndexList(file, record.nId, sink);
    case QvpNodeTagList:
        return DecodeTagList(file, record.nId, sink);
    default:
        return DecodeAnnotations(file, record, sink);
    }
}

// --- book information ---------------------------------------------------------------------------

using StringGetter = QVRESULT (IBookInfoProxy::*)(char**);

struct StringField {
    const char* name;
    StringGetter get;
};

constexpr StringField stringFields[] = {
    {"bookName", &IBookInfoProxy::GetBookName},
    {"author", &IBookInfoProxy::GetAuthorName},
    {"coverPagePath", &IBookInfoProxy::GetCoverPagePath},
    {"publisher", &IBookInfoProxy::GetPublisherName},
    {"isbn", &IBookInfoProxy::GetISBN},
    {"summary", &IBookInfoProxy::GetSummary},
    {"latestSection", &IBookInfoProxy::GetLatestSection},
};

// Null, and its name added to `damaged`, where the string has no end.
Json StringOf(IBookInfoProxy& info, const StringField& field, std::string* damaged) {
    char* text = nullptr;
    if (Succeeded((info.*field.get)(&text)))
        return String(text).get();
    *damaged += std::string(damaged->empty() ? "" : ", ") + field.name;
    return nullptr;
}

Json BookmarkOf(IBookInfoProxy& info, std::string* damaged) {
    IBookAnnotation* delivered = nullptr;
    Succeeded(info.GetReadingBookmark(&delivered));
    const std::unique_ptr<IBookAnnotation> bookmark(delivered);
    if (bookmark != nullptr)
        return ToJson(static_cast<CBookAnnotationImpl&>(*bookmark));
    *damaged += std::string(damaged->empty() ? "" : ", ") + "readingBookmark";
    return nullptr;
}

std::string DecodeBookInfo(CQvpFile& file, unsigned int id, const EntrySink& sink) {
    const auto info =
        Obtain<IBookInfoProxy>([&](auto** out) { return file.GetInfoProxy(out, id); });
    unsigned int progress = 0;
    if (!Succeeded(info->GetReadingProgress(&progress)))
        return "its fields do not fit into it; the library neither reads nor replaces it";
    int serialized = 0;
    auto source = QvBookSourceDefault;
    info->GetIsSerialized(&serialized);
    info->GetBookSource(&source);
    Json json;
    std::string damaged;
    for (const StringField& field : stringFields) {
        const bool absent = field.get == &IBookInfoProxy::GetLatestSection && serialized == 0;
        json[field.name] = absent ? Json(nullptr) : StringOf(*info, field, &damaged);
    }
    json["bookSource"] = static_cast<int>(source);
    json["readingProgress"] = progress;
    json["serialized"] = serialized != 0;
    json["readingBookmark"] = BookmarkOf(*info, &damaged);
    sink(json);
    return damaged.empty() ? "" : "it holds no " + damaged + " that can be read";
}

std::string CompareCounts(std::uint32_t said, long found) {
    if (said == static_cast<unsigned long>(found))
        return "";
    return "it should hold " + std::to_string(said) + " entries, of which " +
           std::to_string(found) + " can be read";
}

} // namespace

std::string DecodeRecord(ReadingDataFile& source, const QvpRecord& record, const EntrySink& sink) {
    auto bytes = source.Extract(record);
    if (bytes == nullptr)
        return "it is longer than the library reads";
    if (record.nType != QvpNodeBookInfo && record.nLength < QvpFormat::CountSize)
        return "it is too short for a list";
    constexpr long dataAt = QvpFormat::HeaderSize + QvpFormat::RecordHeaderSize;
    const std::uint32_t said = record.nType == QvpNodeBookInfo ? 0 : LoadLE32(bytes.get() + dataAt);
    CMemoryStream stream(bytes.release(), ReadingDataFile::ExtractSize(record));
    CQvpFile file;
    if (!Succeeded(file.Open(&stream)))
        return "it cannot be read";
    if (record.nType == QvpNodeBookInfo)
        return DecodeBookInfo(file, record.nId, sink);
    std::string wrong = CompareCounts(said, DecodeList(file, record, sink));
    if (!wrong.empty() && record.nType == QvpNodePathTable)
        wrong += "; the library then reads none of the path table";
    return wrong;
}

} // namespace umdview
