// Keeps a series of things in a reading-data file, building on what is there already:
//   ReadingDataSeries FILE SEED
// The same seeds in the same order give the same bytes on every machine. scripts/test-armhf lets
// machines take turns on one file.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "IBookIndexProxy.h"
#include "IBookInfoProxy.h"
#include "IBookPathTableProxy.h"
#include "IBookTagProxy.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"
#include "readingdata/CQvpFile.h"

using namespace QvFormat;

namespace {

constexpr unsigned int kFileId = 0xFFFFFFFF;

std::mt19937 generator;

unsigned int Below(unsigned int limit) {
    return static_cast<unsigned int>(generator()) % limit;
}

std::string Words(unsigned int longest) {
    std::string words(Below(longest + 1), ' ');
    for (char& letter : words)
        letter = static_cast<char>(Below(4) ? 'a' + Below(26) : 0x80 + Below(0x40));
    return words;
}

void Check(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "%s failed\n", what);
    std::exit(EXIT_FAILURE);
}

void KeepBookInfo(CQvpFile& file) {
    IBookInfoProxy* made = nullptr;
    Check(file.GetInfoProxy(&made, kFileId) == QV_S_OK, "GetInfoProxy");
    const std::unique_ptr<IBookInfoProxy> info(made);
    unsigned int progress = 0;
    info->GetReadingProgress(&progress);
    const std::string name = Words(199), summary = Words(1023);
    CBookAnnotationImpl bookmark(QvAnnotationPosition);
    bookmark.SetBlockIndex(progress + Below(1u << 31));
    bookmark.SetOffset(Below(400));
    Check(info->SetBookName(name.c_str(), static_cast<unsigned int>(name.size())) == QV_S_OK &&
              info->SetSummary(summary.c_str(), static_cast<unsigned int>(summary.size())) ==
                  QV_S_OK &&
              info->SetReadingProgress(progress * 3 + Below(1000)) == QV_S_OK &&
              info->SetIsSerialized(static_cast<int>(Below(2))) == QV_S_OK &&
              info->SetReadingBookmark(&bookmark) == QV_S_OK,
          "Book information");
}

// Negative numbers too; every other round the list shrinks.
void KeepIndex(CQvpFile& file) {
    IBookIndexProxy* made = nullptr;
    Check(file.GetIndexProxy(&made, Below(3)) == QV_S_OK, "GetIndexProxy");
    const std::unique_ptr<IBookIndexProxy> index(made);
    int* kept = nullptr;
    unsigned int count = 0;
    index->GetIndexList(&kept, &count);
    std::vector<int> entries(kept, kept + (kept ? count : 0));
    delete[] kept;
    if (Below(2))
        entries.resize(entries.size() / 2);
    for (unsigned int more = Below(300); more > 0; --more)
        entries.push_back(static_cast<int>(Below(1u << 31)) - (1 << 30));
    Check(index->SetIndexList(entries.data(), static_cast<unsigned int>(entries.size())) == QV_S_OK,
          "SetIndexList");
}

void KeepTags(CQvpFile& file) {
    IBookTagProxy* made = nullptr;
    Check(file.GetTagProxy(&made, kFileId) == QV_S_OK, "GetTagProxy");
    const std::unique_ptr<IBookTagProxy> proxy(made);
    std::vector<std::string> tags(Below(40));
    std::vector<char*> pointers;
    for (std::string& tag : tags) {
        tag = Words(49);
        pointers.push_back(tag.data());
    }
    Check(proxy->SetTagList(pointers.data(), static_cast<unsigned int>(tags.size())) == QV_S_OK,
          "SetTagList");
}

// Paths that are there move to the back, with other values.
void KeepPaths(CQvpFile& file) {
    IBookPathTableProxy* made = nullptr;
    Check(file.GetPathTableProxy(&made) == QV_S_OK, "GetPathTableProxy");
    const std::unique_ptr<IBookPathTableProxy> proxy(made);
    QvpPathItem* kept = nullptr;
    unsigned int count = 0;
    proxy->GetPathTable(&kept, &count);
    std::string path = Words(499);
    std::vector<QvpPathItem> items = {{Below(7), kFileId - Below(7), path.data()}};
    for (unsigned int i = 0; kept && i < count; ++i)
        items.push_back({kept[i].nValue0 + 1, kept[i].nValue1 - 1, kept[i].pszPath});
    Check(proxy->SetPathTable(items.data(), static_cast<unsigned int>(items.size())) == QV_S_OK,
          "SetPathTable");
    for (unsigned int i = 0; kept && i < count; ++i)
        delete[] kept[i].pszPath;
    delete[] kept;
}

void KeepAnnotations(CQvpFile& file, QvAnnotationType type) {
    CBookAnnotationListProxy proxy(&file, kFileId);
    const unsigned int count = Below(60);
    const std::unique_ptr<CBookAnnotationImpl[]> list(
        CBookAnnotationListProxy::NewList(type, count));
    for (unsigned int i = 0; i < count; ++i) {
        std::string comment = Words(2000);
        list[i].SetBlockIndex(static_cast<unsigned int>(generator()));
        list[i].SetOffset(Below(400));
        list[i].SetLength(Below(1u << 31));
        list[i].SetComment(comment.data());
    }
    Check(proxy.SetAnnotationList(type, list.get(), count) == QV_S_OK, "SetAnnotationList");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s FILE SEED\n", argv[0]);
        return 2;
    }
    generator.seed(static_cast<std::mt19937::result_type>(std::atoi(argv[2])));
    CQvpFile file;
    Check(file.Open(argv[1], 1) == QV_S_OK, "Open");
    for (int round = 0; round < 20; ++round) {
        KeepBookInfo(file);
        KeepIndex(file);
        KeepTags(file);
        KeepPaths(file);
        KeepAnnotations(file, static_cast<QvAnnotationType>(Below(3)));
        if (Below(2))
            Check(file.Flush() == QV_S_OK, "Flush");
    }
    return EXIT_SUCCESS;
}
