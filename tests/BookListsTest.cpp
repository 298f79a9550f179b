#include "ReadingDataFixture.h"
#include "readingdata/CBookInfoProxyImpl.h"
#include "readingdata/CBookPathTableProxyImpl.h"
#include "readingdata/CBookTagProxyImpl.h"

using namespace readingdata;

namespace {

using Strings = std::vector<std::string>;
using Indexes = std::vector<int>;

class BookListsTest : public Fixture {
protected:
    auto GetIndex() { return GetBy<CBookIndexProxyImpl>(*m_pFile, 1); }
    auto GetTags() { return GetBy<CBookTagProxyImpl>(*m_pFile, 1); }
    auto GetPaths() { return GetBy<CBookPathTableProxyImpl>(*m_pFile, 1); }
    QVRESULT SetIndex(const Indexes& list) { return SetBy<CBookIndexProxyImpl>(*m_pFile, 1, list); }
    QVRESULT SetTags(const Strings& list) { return SetBy<CBookTagProxyImpl>(*m_pFile, 1, list); }

    // Paths with their position and its double as values, which then are the table.
    void SetPaths(const Strings& paths) {
        std::vector<Path> list;
        for (unsigned int i = 0; i < paths.size(); ++i)
            list.emplace_back(i, 2 * i, paths[i]);
        EXPECT_EQ(SetBy<CBookPathTableProxyImpl>(*m_pFile, 1, list), QV_S_OK);
        EXPECT_EQ(std::pair(QV_S_OK, list), GetPaths());
    }
};

TEST_F(BookListsTest, IndexGrownShrunkAndGrownAgainReusesItsRecords) {
    Reopen();
    const std::pair none(QV_E_FAIL, Indexes());
    EXPECT_EQ(none, GetIndex());
    EXPECT_EQ(SetIndex({}), QV_S_OK);
    EXPECT_EQ(none, GetIndex());
    EXPECT_EQ(SetIndex(Indexes(450, -1)), QV_S_OK);
    EXPECT_EQ(Shape(), "3*804(200) 3*804(200) 3*804(50) ");
    EXPECT_EQ(SetIndex(Indexes(150, -2)), QV_S_OK);
    EXPECT_EQ(Shape(), "3*804(150) 0*804(200) 0*804(50) ");
    EXPECT_EQ(SetIndex(Indexes(450, -3)), QV_S_OK);
    Reopen();
    EXPECT_EQ(Shape(), "3*804(200) 3*804(200) 3*804(50) ");
    EXPECT_EQ(std::pair(QV_S_OK, Indexes(450, -3)), GetIndex());
    EXPECT_EQ(SetIndex({}), QV_S_OK);
    EXPECT_EQ(std::pair(QV_S_OK, Indexes()), GetIndex());
    EXPECT_EQ(Shape(), "0*804(200) 0*804(200) 0*804(50) ");
    Reopen();
    EXPECT_EQ(none, GetIndex());
}

TEST_F(BookListsTest, StoredCountAboveCapacityIsLoweredInTheRecordWithoutMarkingIt) {
    const std::vector<Record> records = {{3, 1, Le32(250) + std::string(800, '\1')},
                                         {3, 1, Le32(9) + "abc"},
                                         {3, 1, "ab"},
                                         {4, 1, Le32(0xFFFFFFFF) + std::string(100, '\0') + "rest"},
                                         {4, 1, Le32(1) + "short"}};
    WriteAndOpen(records);
    EXPECT_EQ(std::pair(QV_S_OK, Indexes(200, 0x01010101)), GetIndex());
    EXPECT_EQ(std::pair(QV_S_OK, Strings(2)), GetTags());
    EXPECT_EQ(m_pFile->Flush(), QV_S_OK);
    EXPECT_EQ(records, Records());
    Qvp_Node* head = nullptr;
    ASSERT_EQ(m_pFile->AttachNodeList(QvpNodeIndexList, 1, &head), QV_S_OK);
    EXPECT_EQ(Le32(200), std::string(head->pData, head->pData + 4));

    EXPECT_EQ(SetIndex(Indexes(201, 7)), QV_S_OK); // short records take none
    EXPECT_EQ(std::pair(QV_S_OK, Indexes(201, 7)), GetIndex());
    EXPECT_EQ(m_pFile->Flush(), QV_S_OK);
    EXPECT_EQ(records[2], Records()[2]);
}

TEST_F(BookListsTest, TagsOfUpTo49BytesFillSlotsAndLeaveTheRestOfThem) {
    Reopen();
    const std::string longest(49, 't');
    EXPECT_EQ(SetTags(Strings(11, longest)), QV_S_OK);
    EXPECT_EQ(SetTags({"fine", longest + "t"}), QV_E_INVALIDARG);
    EXPECT_EQ(Shape(), "4*504(10) 4*504(1) ");
    EXPECT_EQ(std::pair(QV_S_OK, Strings(11, longest)), GetTags());
    EXPECT_EQ(SetTags({"", "b"}), QV_S_OK);
    EXPECT_EQ(Shape(), "4*504(2) 0*504(1) ");
    std::string data = Records()[0].data;
    EXPECT_EQ('\0' + longest.substr(1) + '\0' + "b" + '\0' + "tt", data.substr(4, 54));

    WriteAndOpen({{4, 1, data.replace(4, 50, std::string(50, 'x'))}});
    EXPECT_EQ(std::pair(QV_S_OK, Strings{"b"}), GetTags()) << "a tag without end is passed over";
}

TEST_F(BookListsTest, PathsArePackedInOrder) {
    Reopen();
    EXPECT_EQ(std::pair(QV_E_FAIL, std::vector<Path>()), GetPaths());
    SetPaths({std::string(499, 'p')});
    EXPECT_EQ(Shape(), "2*512(1) ");
    SetPaths({std::string(300, 'p'), std::string(300, 'q')});
    EXPECT_EQ(Shape(), "2*512(1) 2*512(1) ");
    SetPaths({std::string(300, 'p'), std::string(190, 'q'), "r", ""});
    EXPECT_EQ(Shape(), "2*512(2) 2*512(2) ");
    SetPaths({"", "a"});
    EXPECT_EQ(Shape(), "2*512(2) 0*512(2) ");
    const std::vector<Path> tooLong = {{1, 2, "fine"}, {1, 2, std::string(500, 'p')}};
    EXPECT_EQ(SetBy<CBookPathTableProxyImpl>(*m_pFile, 1, tooLong), QV_E_INVALIDARG);
    EXPECT_EQ(Shape(), "2*512(2) 0*512(2) ");

    // Records that hold little are closed at the first path that does not fit.
    WriteAndOpen({{2, 5, std::string(12, 'x')}, {2, 7, std::string(16, 'x')}});
    SetPaths({"abc", "a", ""});
    EXPECT_EQ(Shape(), "2*12(0) 2*16(1) 2*512(2) ");
}

TEST_F(BookListsTest, DamagedPathTablesFailAndHandOutNothing) {
    const std::string item = Le32(1) + Le32(2) + "p" + '\0', bare = item.substr(0, 8);
    const Path path = {1, 2, "p"};
    const std::tuple<const char*, std::string, std::string, QVRESULT, std::vector<Path>> rows[] = {
        {"one whole item", Le32(1) + item, "", QV_S_OK, {path}},
        {"count too high", Le32(2) + item, "", QV_E_FAIL, {}},
        {"count too high by far", Le32(0xFFFFFFFF) + item, "", QV_E_FAIL, {}},
        {"path without end", Le32(1) + item.substr(0, 9), "", QV_E_FAIL, {}},
        {"no path", Le32(1) + bare, "", QV_E_FAIL, {}},
        {"only a count", Le32(1), "", QV_E_FAIL, {}},
        {"no items", Le32(0) + "left", "", QV_S_OK, {}},
        {"eight bytes left for a second", Le32(2) + item + "12345678", "", QV_E_FAIL, {}},
        {"nine bytes for a second", Le32(2) + item + bare + '\0', "", QV_S_OK, {path, {1, 2, ""}}},
        {"a record too short for a count", Le32(1) + item, "abc", QV_E_FAIL, {}},
        {"a record of a count", Le32(1) + item, Le32(0), QV_E_FAIL, {}},
        {"a second count too high", Le32(1) + item, Le32(0xFFFFFFFF) + "for one..", QV_E_FAIL, {}},
    };
    for (const auto& [what, first, second, result, paths] : rows) {
        WriteAndOpen({{2, 1, first}, {2, 9, second}});
        EXPECT_EQ(std::pair(result, paths), GetPaths()) << what;
    }
}

TEST_F(BookListsTest, EveryProxyWithoutContainerOrPointerRefusesInThatOrder) {
    Reopen();
    for (CQvpFile* file : {static_cast<CQvpFile*>(nullptr), m_pFile.get()}) {
        CBookIndexProxyImpl index(file, 1);
        CBookTagProxyImpl tags(file, 1);
        CBookPathTableProxyImpl paths(file, 1);
        CBookAnnotationListProxy notes(file, 1);
        CBookInfoProxyImpl info(file, 1);
        const QVRESULT results[] = {index.GetIndexList(nullptr, nullptr),
                                    index.SetIndexList(nullptr, 1),
                                    tags.GetTagList(nullptr, nullptr),
                                    tags.SetTagList(nullptr, 1),
                                    paths.GetPathTable(nullptr, nullptr),
                                    paths.SetPathTable(nullptr, 1),
                                    notes.GetAnnotationList(QvAnnotationRange, nullptr, nullptr),
                                    notes.SetAnnotationList(QvAnnotationRange, nullptr, 1),
                                    info.GetLatestSection(nullptr),
                                    info.SetBookName(nullptr, 0),
                                    info.GetReadingBookmark(nullptr),
                                    info.SetReadingBookmark(nullptr),
                                    info.GetBookSource(nullptr),
                                    info.GetReadingProgress(nullptr),
                                    info.GetIsSerialized(nullptr),
                                    file ? QV_E_INVALIDARG : info.SetIsSerialized(1)};
        for (const QVRESULT& result : results)
            EXPECT_EQ(file ? QV_E_INVALIDARG : QV_E_NOTREADY, result) << &result - results;
    }
    char* noTag = nullptr;
    EXPECT_EQ(CBookTagProxyImpl(m_pFile.get(), 1).SetTagList(&noTag, 1), QV_E_INVALIDARG);
    QvpPathItem noPath = {1, 2, nullptr};
    EXPECT_EQ(CBookPathTableProxyImpl(m_pFile.get(), 1).SetPathTable(&noPath, 1), QV_E_INVALIDARG);
    CQvpFile closed;
    EXPECT_EQ(Fixture::SetIndex(closed, 1, {}), QV_S_OK);
    EXPECT_EQ(Fixture::SetIndex(closed, 1, {1}), QV_E_FAIL);
}

} // namespace
