// Opens any bytes as a reading-data file on a stream, asks for everything and changes everything.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <new>

#include "IBookAnnotation.h"
#include "base/CMemoryStream.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"
#include "readingdata/CBookIndexProxyImpl.h"
#include "readingdata/CBookInfoProxyImpl.h"
#include "readingdata/CBookPathTableProxyImpl.h"
#include "readingdata/CBookTagProxyImpl.h"
#include "readingdata/CQvpFile.h"

namespace {

using namespace QvFormat;

void Require(bool holds) {
    if (!holds)
        std::abort();
}

void ReadInfo(IBookInfoProxy& info) {
    using Getter = QVRESULT (IBookInfoProxy::*)(char**);
    const Getter getters[] = {&IBookInfoProxy::GetBookName,      &IBookInfoProxy::GetAuthorName,
                              &IBookInfoProxy::GetCoverPagePath, &IBookInfoProxy::GetPublisherName,
                              &IBookInfoProxy::GetISBN,          &IBookInfoProxy::GetLatestSection,
                              &IBookInfoProxy::GetSummary};
    for (Getter get : getters) {
        char* text = nullptr;
        const QVRESULT result = (info.*get)(&text);
        Require((result == QV_S_OK) == (text != nullptr));
        delete[] text;
    }
    IBookAnnotation* bookmark = nullptr;
    Require((info.GetReadingBookmark(&bookmark) == QV_S_OK) == (bookmark != nullptr));
    delete bookmark;
}

// Every entry takes at least one byte of the input.
void ReadLists(CQvpFile& file, unsigned int id, std::size_t size) {
    unsigned int count = 0;
    int* entries = nullptr;
    CBookIndexProxyImpl(&file, id).GetIndexList(&entries, &count);
    Require(count <= size);
    delete[] entries;
    char** tags = nullptr;
    if (CBookTagProxyImpl(&file, id).GetTagList(&tags, &count) == QV_S_OK) {
        Require(count <= size);
        for (unsigned int i = 0; i < count; ++i)
            delete[] tags[i];
        delete[] tags;
    }
    QvpPathItem* items = nullptr;
    if (CBookPathTableProxyImpl(&file, id).GetPathTable(&items, &count) == QV_S_OK) {
        Require(count <= size);
        for (unsigned int i = 0; i < count; ++i)
            delete[] items[i].pszPath;
        delete[] items;
    }
    for (const auto type : {QvAnnotationPosition, QvAnnotationRange, QvAnnotationComment}) {
        IBookAnnotation* list = nullptr;
        if (CBookAnnotationListProxy(&file, id).GetAnnotationList(type, &list, &count) == QV_S_OK)
            Require(count <= size);
        delete[] static_cast<CBookAnnotationImpl*>(list);
    }
}

void ChangeAll(CQvpFile& file, unsigned int id) {
    CBookInfoProxyImpl info(&file, id);
    CBookAnnotationImpl position(QvAnnotationPosition), note(QvAnnotationComment);
    char text[] = "a note";
    note.SetComment(text);
    info.SetReadingBookmark(&position);
    info.SetSummary(text, sizeof text - 1);
    int entries[300] = {};
    Require(CBookIndexProxyImpl(&file, id).SetIndexList(entries, 300) == QV_S_OK);
    char* tags[] = {text, text};
    Require(CBookTagProxyImpl(&file, id).SetTagList(tags, 2) == QV_S_OK);
    QvpPathItem item = {1, 2, text};
    Require(CBookPathTableProxyImpl(&file, id).SetPathTable(&item, 1) == QV_S_OK);
    Require(CBookAnnotationListProxy(&file, id).SetAnnotationList(QvAnnotationComment, &note, 1) ==
            QV_S_OK);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto* buffer = static_cast<unsigned char*>(::operator new(size + 1));
    if (size > 0)
        std::memcpy(buffer, data, size);
    CMemoryStream stream(buffer, static_cast<long>(size));
    CQvpFile file;
    if (file.Open(&stream) != QV_S_OK)
        return 0;
    for (const unsigned int id : {7u, 0xFFFFFFFFu}) {
        CBookInfoProxyImpl info(&file, id);
        ReadInfo(info);
        ReadLists(file, id, size);
        ChangeAll(file, id);
        ReadInfo(info);
        ReadLists(file, id, size + 4096);
    }
    return 0;
}
