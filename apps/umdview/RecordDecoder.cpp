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

constexpr std::uint32_t kCountBytes = 4; // every record of a list begins with its count

// False for what the file does not hold.
bool Succeeded(QVRESULT result) {
    if (result == QV_E_OUTOFMEMORY)
        throw std::bad_alloc();
    return result == QV_S_OK;
}

template<typename Interface>
std::unique_ptr<Interface> Own(Interface* object) {
    if (object == nullptr)
        throw std::bad_alloc();
    return std::unique_ptr<Interface>(object);
}

// Takes the string over.
Json StringToJson(char* text) {
    return std::unique_ptr<char[]>(text).get();
}

Json NumberToJson(int number) {
    return number;
}

Json PathToJson(QvpPathItem item) {
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

// --- lists --------------------------------------------------------------------------------------

// Takes the proxy over.
template<typename Proxy, typename Entry>
Json ListOf(Proxy* delivered, QVRESULT (Proxy::*get)(Entry**, unsigned int*),
            Json (*toJson)(Entry)) {
    const auto proxy = Own(delivered);
    Entry* list = nullptr;
    unsigned int count = 0;
    Succeeded((proxy.get()->*get)(&list, &count));
    const std::unique_ptr<Entry[]> owner(list);
    Json entries = Json::array();
    for (unsigned int i = 0; i < count; ++i)
        entries.push_back(toJson(list[i]));
    return entries;
}

Json DecodeAnnotations(CQvpFile& file, const Record& record) {
    CBookAnnotationListProxy proxy(&file, record.id);
    const auto type = static_cast<QvAnnotationType>(record.type - QvpNodePositionAnnotations);
    IBookAnnotation* list = nullptr;
    unsigned int count = 0;
    Succeeded(proxy.GetAnnotationList(type, &list, &count));
    // The interface has no size to step by.
    const std::unique_ptr<CBookAnnotationImpl[]> owner(static_cast<CBookAnnotationImpl*>(list));
    Json entries = Json::array();
    for (unsigned int i = 0; i < count; ++i)
        entries.push_back(AnnotationToJson(owner[i]));
    return entries;
}

Json DecodeList(CQvpFile& file, const Record& record) {
    IBookPathTableProxy* paths = nullptr;
    IBookIndexProxy* index = nullptr;
    IBookTagProxy* tags = nullptr;
    switch (record.type) {
    case QvpNodePathTable:
        file.GetPathTableProxy(&paths);
        return ListOf(paths, &IBookPathTableProxy::GetPathTable, PathToJson);
    case QvpNodeIndexList:
        file.GetIndexProxy(&index, record.id);
        return ListOf(index, &IBookIndexProxy::GetIndexList, NumberToJson);
    case QvpNodeTagList:
        file.GetTagProxy(&tags, record.id);
        return ListOf(tags, &IBookTagProxy::GetTagList, StringToJson);
    default:
        return DecodeAnnotations(file, record);
    }
}

// --- book information ---------------------------------------------------------------------------

struct StringField {
    const char* name;
    QVRESULT (IBookInfoProxy::*get)(char**);
};

constexpr StringField kStringFields[] = {
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
    file.GetInfoProxy(&delivered, id);
    const auto info = Own(delivered);
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
    for (const StringField& field : kStringFields)
        json[field.name] = StringOf(*info, field);
    json["bookSource"] = static_cast<int>(source);
    json["readingProgress"] = progress;
    json["serialized"] = serialized != 0;
    json["readingBookmark"] = BookmarkOf(*info);
    return json;
}

// A reading-data file of this one record: what the library makes of it is then known without a
// search through all others.
CMemoryStream Extract(const ReadingDataFile& file, const Record& record) {
    constexpr long before = ReadingDataFile::kHeaderBytes;
    const long size =
        before + ReadingDataFile::kRecordHeaderBytes + static_cast<long>(record.length);
    auto* bytes = static_cast<unsigned char*>(::operator new(static_cast<std::size_t>(size)));
    std::copy_n(file.bytes.begin(), before, bytes);
    std::copy_n(file.bytes.begin() + record.offset, size - before, bytes + before);
    return CMemoryStream(bytes, size);
}

} // namespace

Json DecodeRecord(const ReadingDataFile& file, const Record& record, std::string* wrong) {
    if (record.length == 0 || record.type > QvpNodeCommentAnnotations)
        return nullptr;
    CMemoryStream stream = Extract(file, record);
    CQvpFile one; // on a stream it never writes
    if (!Succeeded(one.Open(&stream)))
        *wrong = "it cannot be read";
    else if (record.type == QvpNodeBookInfo)
        return DecodeBookInfo(one, record.id, wrong);
    else if (record.length < kCountBytes)
        *wrong = "it is too short for a list";
    if (!wrong->empty())
        return nullptr;
    Json entries = DecodeList(one, record);
    const auto said = file.IntegerAt(record.offset + ReadingDataFile::kRecordHeaderBytes);
    if (entries.size() != said)
        *wrong = "it should hold " + std::to_string(said) + " entries, of which " +
                 std::to_string(entries.size()) + " can be read";
    return entries;
}

} // namespace umdview
