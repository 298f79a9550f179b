#include "RecordDecoder.h"

#include <algorithm>
#include <memory>
#include <new>

#include "IBookAnnotation.h"
#include "IBookIndexProxy.h"
#include "IBookInfoProxy.h"
#include "IBookPathTableProxy.h"
#include "IBookTagProxy.h"
#include "QvpNodeType.h"
#include "base/CMemoryStream.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"
#include "readingdata/CQvpFile.h"

namespace umdview {

using namespace QvFormat;

namespace {

constexpr std::uint32_t countBytes = 4; // every record of a list begins with its count

// False for what the file does not hold.
bool Succeeded(QVRESULT result) {
    if (result == QV_E_OUTOFMEMORY)
        throw std::bad_alloc();
    return result == QV_S_OK;
}

template<typename Interface>
std::unique_ptr<Interface> Own(QVRESULT result, Interface* proxy) {
    if (!Succeeded(result) || proxy == nullptr)
        throw std::bad_alloc();
    return std::unique_ptr<Interface>(proxy);
}

// What `toJson` makes of each entry of the array that `get` hands over.
template<typename Entry, typename Get, typename ToJson>
Json ListOf(Get get, ToJson toJson) {
    Entry* list = nullptr;
    unsigned int count = 0;
    Succeeded(get(&list, &count));
    const std::unique_ptr<Entry[]> owner(list);
    Json entries = Json::array();
    for (unsigned int i = 0; i < count; ++i)
        entries.push_back(toJson(list[i]));
    return entries;
}

// Takes the string over.
Json StringToJson(char* text) {
    return std::unique_ptr<char[]>(text).get();
}

Json PathToJson(const QvpPathItem& item) {
    return {
        {"value0", item.nValue0}, {"value1", item.nValue1}, {"path", StringToJson(item.pszPath)}};
}

Json AnnotationToJson(IBookAnnotation& annotation) {
    unsigned int block = 0, offset = 0, length = 0;
    annotation.GetBlockIndex(&block);
    annotation.GetOffset(&offset);
    Json json = {{"block", block}, {"offset", offset}};
    auto type = QvAnnotationPosition;
    annotation.GetAnnotationType(&type);
    if (type != QvAnnotationPosition && annotation.GetLength(&length) == QV_S_OK)
        json["length"] = length;
    char* comment = nullptr;
    if (Succeeded(annotation.GetComment(&comment)))
        json["comment"] = StringToJson(comment);
    return json;
}

Json DecodeAnnotations(CQvpFile& file, const Record& record) {
    CBookAnnotationListProxy proxy(&file, record.id);
    const auto type = static_cast<QvAnnotationType>(record.type - QvpNodePositionAnnotations);
    return ListOf<CBookAnnotationImpl>(
        [&](CBookAnnotationImpl** list, unsigned int* count) {
            IBookAnnotation* delivered = nullptr; // an array of CBookAnnotationImpl
            const QVRESULT result = proxy.GetAnnotationList(type, &delivered, count);
            *list = static_cast<CBookAnnotationImpl*>(delivered);
            return result;
        },
        AnnotationToJson);
}

Json DecodeIndexList(CQvpFile& file, unsigned int id) {
    IBookIndexProxy* delivered = nullptr;
    const QVRESULT result = file.GetIndexProxy(&delivered, id);
    const auto proxy = Own(result, delivered);
    return ListOf<int>([&](int** list, auto* count) { return proxy->GetIndexList(list, count); },
                       [](int entry) { return Json(entry); });
}

Json DecodeTagList(CQvpFile& file, unsigned int id) {
    IBookTagProxy* delivered = nullptr;
    const QVRESULT result = file.GetTagProxy(&delivered, id);
    const auto proxy = Own(result, delivered);
    return ListOf<char*>([&](char*** list, auto* count) { return proxy->GetTagList(list, count); },
                         StringToJson);
}

Json DecodePathTable(CQvpFile& file) {
    IBookPathTableProxy* delivered = nullptr;
    const QVRESULT result = file.GetPathTableProxy(&delivered);
    const auto proxy = Own(result, delivered);
    return ListOf<QvpPathItem>(
        [&](QvpPathItem** list, auto* count) { return proxy->GetPathTable(list, count); },
        PathToJson);
}

Json DecodeList(CQvpFile& file, const Record& record) {
    switch (record.type) {
    case QvpNodePathTable:
        return DecodePathTable(file);
    case QvpNodeIndexList:
        return DecodeIndexList(file, record.id);
    case QvpNodeTagList:
        return DecodeTagList(file, record.id);
    default:
        return DecodeAnnotations(file, record);
    }
}

// --- book information ---------------------------------------------------------------------------

struct StringField {
    const char* name;
    QVRESULT (IBookInfoProxy::*get)(char**);
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

// Null where the library finds no string: one without an end, or the section of a finished book.
Json StringOf(IBookInfoProxy& info, const StringField& field) {
    char* text = nullptr;
    return Succeeded((info.*field.get)(&text)) ? StringToJson(text) : nullptr;
}

Json BookmarkOf(IBookInfoProxy& info) {
    IBookAnnotation* delivered = nullptr;
    Succeeded(info.GetReadingBookmark(&delivered));
    const std::unique_ptr<IBookAnnotation> bookmark(delivered);
    return bookmark == nullptr ? Json(nullptr) : AnnotationToJson(*bookmark);
}

Json DecodeBookInfo(CQvpFile& file, unsigned int id, std::string* wrong) {
    IBookInfoProxy* delivered = nullptr;
    const QVRESULT result = file.GetInfoProxy(&delivered, id);
    const auto info = Own(result, delivered);
    unsigned int progress = 0;
    if (!Succeeded(info->GetReadingProgress(&progress))) {
        *wrong = "its fields do not fit into it; the library neither reads nor replaces it";
        return nullptr;
    }
    int serialized = 0;
    auto source = QvBookSourceDefault;
    info->GetIsSerialized(&serialized);
    info->GetBookSource(&source);
    Json json;
    for (const StringField& field : stringFields)
        json[field.name] = StringOf(*info, field);
    json["bookSource"] = static_cast<int>(source);
    json["readingProgress"] = progress;
    json["serialized"] = serialized != 0;
    json["readingBookmark"] = BookmarkOf(*info);
    return json;
}

// A reading-data file of this one record, so that the library reads no other. The stream is the
// caller's.
std::unique_ptr<CMemoryStream> Extract(const ReadingDataFile& file, const Record& record) {
    const long size = headerBytes + recordHeaderBytes + static_cast<long>(record.length);
    auto* bytes = static_cast<unsigned char*>(::operator new(static_cast<std::size_t>(size)));
    std::copy_n(file.bytes.begin(), headerBytes, bytes);
    std::copy_n(file.bytes.begin() + record.offset, size - headerBytes, bytes + headerBytes);
    return std::make_unique<CMemoryStream>(bytes, size);
}

} // namespace

Json DecodeRecord(const ReadingDataFile& file, const Record& record, std::string* wrong) {
    if (record.length == 0 || record.type > QvpNodeCommentAnnotations)
        return nullptr;
    const auto stream = Extract(file, record);
    CQvpFile one;
    if (!Succeeded(one.Open(stream.get()))) {
        *wrong = "it cannot be read";
        return nullptr;
    }
    if (record.type == QvpNodeBookInfo)
        return DecodeBookInfo(one, record.id, wrong);
    if (record.length < countBytes) {
        *wrong = "it is too short for a list";
        return nullptr;
    }
    Json entries = DecodeList(one, record);
    const std::uint32_t said = IntegerAt(file.bytes, record.offset + recordHeaderBytes);
    if (entries.size() != said)
        *wrong = "it should hold " + std::to_string(said) + " entries, of which " +
                 std::to_string(entries.size()) + " can be read";
    return entries;
}

} // namespace umdview
