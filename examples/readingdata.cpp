// What a reader notes in a book: a bookmark list, a tag and the progress, written beside the book
// and read back. No renderer may have the book open meanwhile:
//   readingdata READING_DATA
#include <cstdio>
#include <memory>

#include "IBookInfoProxy.h"
#include "IBookTagProxy.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"
#include "readingdata/CQvpFile.h"

namespace {

using namespace QvFormat;

bool Write(const char* path) {
    CQvpFile file; // declared first: it goes last, and writes what changed
    if (file.Open(path, 1) != QV_S_OK)
        return false;
    const std::unique_ptr<CBookAnnotationImpl[]> marks(
        CBookAnnotationListProxy::NewList(QvAnnotationPosition, 2));
    if (!marks)
        return false;
    marks[0].SetBlockIndex(3);
    marks[1].SetBlockIndex(7);
    marks[1].SetOffset(12);
    CBookAnnotationListProxy bookmarks(&file, kCommonFileId);
    if (bookmarks.SetAnnotationList(QvAnnotationPosition, marks.get(), 2) != QV_S_OK)
        return false;

    IBookTagProxy* tags = nullptr;
    IBookInfoProxy* info = nullptr;
    file.GetTagProxy(&tags, kCommonFileId);
    const std::unique_ptr<IBookTagProxy> tagOwner(tags);
    file.GetInfoProxy(&info, kCommonFileId);
    const std::unique_ptr<IBookInfoProxy> infoOwner(info);
    char tag[] = "to read again";
    char* list[] = {tag};
    return tags && info && tags->SetTagList(list, 1) == QV_S_OK &&
           info->SetReadingProgress(42) == QV_S_OK;
}

bool Print(const char* path) {
    CQvpFile file;
    if (file.Open(path, 0) != QV_S_OK)
        return false;
    CBookAnnotationListProxy bookmarks(&file, kCommonFileId);
    IBookAnnotation* list = nullptr;
    unsigned int count = 0;
    if (bookmarks.GetAnnotationList(QvAnnotationPosition, &list, &count) != QV_S_OK)
        return false;
    const std::unique_ptr<CBookAnnotationImpl[]> marks(static_cast<CBookAnnotationImpl*>(list));
    for (unsigned int i = 0; i < count; ++i) {
        unsigned int block = 0, offset = 0;
        marks[i].GetBlockIndex(&block);
        marks[i].GetOffset(&offset);
        std::printf("bookmark in block %u at byte %u\n", block, offset);
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    return argc == 2 && Write(argv[1]) && Print(argv[1]) ? 0 : 1;
}
