#include <fstream>
#include <sstream>

#include <sys/stat.h>

#include "IBookAnnotation.h"
#include "IBookInfoProxy.h"
#include "ReadingDataFixture.h"
#include "base/CMemoryStream.h"
#include "readingdata/CBookInfoManager.h"

using namespace QvFormat;
using namespace readingdata;

namespace {

const std::string Tail = std::string("\x03\x01\0\0\0\x40\0\0\0torn", 13); // says 64 bytes, has 4

class CQvpFileTest : public Fixture {
protected:
    // An index record of exactly its entries.
    static Record IndexRecord(std::uint32_t id, const std::vector<int>& entries) {
        std::string data = Le32(static_cast<std::uint32_t>(entries.size()));
        for (int entry : entries)
            data += Le32(static_cast<std::uint32_t>(entry));
        return {3, id, data};
    }

    static Record Dead(std::size_t size) { return {0, 9, std::string(size, 'x')}; }
};

TEST_F(CQvpFileTest, BookWithoutReadingData_OpenedWithCreate_GetsFiveByteFile) {
    const std::string book = m_Path.substr(0, m_Path.size() - 4);
    IBookInfoEntity* entity = nullptr;
    EXPECT_EQ(QV_E_FAIL, CBookInfoManager::GetBookInfoEntity(book.c_str(), &entity, 0));
    EXPECT_EQ(0u, FilesInFolder());
    ASSERT_EQ(QV_S_OK, CBookInfoManager::GetBookInfoEntity(book.c_str(), &entity, 1));
    EXPECT_EQ(std::string("QVP\x01\0", 5), Read());
    IBookAnnotationProxy* none = nullptr;
    EXPECT_EQ(QV_E_NOTIMPL, entity->GetAnnotationProxy(&none, 1));
    EXPECT_EQ(QV_E_NOTIMPL, entity->Save(m_Path.c_str()));
    EXPECT_EQ(QV_E_NOTIMPL, entity->Save(static_cast<IQVSequentialStream*>(nullptr)));
    delete entity;
    EXPECT_EQ(1u, FilesInFolder());

    EXPECT_EQ(QV_E_INVALIDARG, CBookInfoManager::GetBookInfoEntity(nullptr, &entity, 1));
    EXPECT_EQ(QV_E_INVALIDARG, CBookInfoManager::GetBookInfoEntity("", &entity, 1));
    EXPECT_EQ(QV_E_INVALIDARG, CBookInfoManager::GetBookInfoEntity(book.c_str(), nullptr, 1));
    EXPECT_EQ(QV_E_FAIL, CBookInfoManager::GetBookInfoEntity("/no/such/folder/b", &entity, 1));
    EXPECT_EQ(nullptr, entity);
}

TEST_F(CQvpFileTest, FileThatIsNoReadingData_Open_FailsAndLeavesIt) {
    for (const std::string& bytes : {std::string(), std::string("QVP\x01"),
                                     std::string("QVX\1\0", 5), std::string("\0QVP\1\0", 6)}) {
        Write(bytes);
        CQvpFile file;
        EXPECT_EQ(QV_E_FAIL, file.Open(m_Path.c_str(), 1));
        EXPECT_EQ(QV_E_NOTREADY, file.Flush());
        EXPECT_EQ(bytes, Read());
    }
    CQvpFile folder;
    EXPECT_EQ(QV_E_FAIL, folder.Open(m_Folder.c_str(), 1));
}

TEST_F(CQvpFileTest, ContainerNotOpen_EveryOperation_SaysSoFirst) {
    CQvpFile file;
    EXPECT_EQ(QV_E_NOTREADY, file.GetInfoProxy(nullptr, 0));
    EXPECT_EQ(QV_E_NOTREADY, file.GetIndexProxy(nullptr, 0));
    EXPECT_EQ(QV_E_NOTREADY, file.GetTagProxy(nullptr, 0));
    EXPECT_EQ(QV_E_NOTREADY, file.GetPathTableProxy(nullptr));
    EXPECT_EQ(QV_E_NOTREADY, file.AttachNodeList(QvpNodeFree, 0, nullptr));
    EXPECT_EQ(QV_E_NOTREADY, file.AppendNodeList(nullptr));
    EXPECT_EQ(QV_E_INVALIDARG, file.Open(static_cast<const char*>(nullptr), 1));
    EXPECT_EQ(QV_E_INVALIDARG, file.Open(static_cast<IQVSequentialStream*>(nullptr)));

    ASSERT_EQ(QV_S_OK, file.Open(m_Path.c_str(), 1));
    EXPECT_EQ(QV_E_FAIL, file.Open(m_Path.c_str(), 1));
    EXPECT_EQ(QV_E_FAIL, file.Open(static_cast<IQVSequentialStream*>(nullptr)));
    EXPECT_EQ(QV_E_INVALIDARG, file.GetInfoProxy(nullptr, 0));
    EXPECT_EQ(QV_E_INVALIDARG, file.AppendNodeList(nullptr));
    Qvp_Node* head = nullptr;
    EXPECT_EQ(QV_E_INVALIDARG, file.AttachNodeList(QvpNodeFree, 0, &head));
    EXPECT_EQ(QV_E_INVALIDARG, file.AttachNodeList(static_cast<QvpNodeType>(8), 0, &head));
    EXPECT_EQ(QV_E_INVALIDARG, file.AttachNodeList(QvpNodeTagList, 0, nullptr));
}

TEST_F(CQvpFileTest, ChangedRecord_Flush_IsRewrittenAtItsOffsetAndNothingElseChanges) {
    const Record other = {9, 7, "unknown"};
    Write(FileOf({IndexRecord(1, {10, 20}), other, IndexRecord(2, {30})}));
    auto file = Open();
    SetIndex(*file, 1, {-1, 40});
    EXPECT_EQ(QV_S_OK, file->Flush());
    const std::string expected = FileOf({IndexRecord(1, {-1, 40}), other, IndexRecord(2, {30})});
    EXPECT_EQ(expected, Read());
    SetIndex(*file, 1, {});
    file.reset();
    EXPECT_EQ('\0', Read()[5]);
    EXPECT_EQ(expected.substr(6), Read().substr(6));
}

TEST_F(CQvpFileTest, FreeData_AtAndAboveTheLimit_UpdatesInPlaceOrCompacts) {
    const std::vector<Record> live = {
        IndexRecord(5, {1}), {9, 1, "kept"}, {4, 3, ""}, IndexRecord(5, {2})};
    for (const std::size_t size : {5120u, 5121u}) {
        const std::string before =
            FileOf({live[0], Dead(120), live[1], Dead(size - 120), live[2], live[3]}, 7, 9) + Tail;
        Write(before);
        EXPECT_EQ(QV_S_OK, Open()->Flush());
        EXPECT_EQ(size == 5120 ? before : FileOf(live, 7, 9), Read());
        EXPECT_EQ(1u, FilesInFolder());
    }
}

TEST_F(CQvpFileTest, FullRewrite_ProxiesAndLaterFlushes_GoOnWithTheNewFile) {
    Write(FileOf(
        {Dead(3000), IndexRecord(1, {1}), Dead(3000), IndexRecord(2, {2}), IndexRecord(3, {3})}));
    auto file = Open();
    const auto first = Obtain<IBookIndexProxy>([&](auto** p) { return file->GetIndexProxy(p, 1); });
    EXPECT_EQ(QV_S_OK, Set(*first, {11}));
    SetIndex(*file, 2, {});  // freed: not copied
    SetIndex(*file, 4, {4}); // new
    EXPECT_EQ(QV_S_OK, file->Flush());
    const auto compacted = Records();
    ASSERT_EQ(3u, compacted.size());
    EXPECT_EQ(IndexRecord(1, {11}), compacted[0]);
    EXPECT_EQ(IndexRecord(3, {3}), compacted[1]);
    EXPECT_EQ(4u, compacted[2].id);

    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ(compacted, Records());

    EXPECT_EQ(QV_S_OK, Set(*first, {12}));
    SetIndex(*file, 2, {22}); // the freed record comes back as a new one
    SetIndex(*file, 4, {44});
    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ(IndexRecord(1, {12}), Records().at(0));
    EXPECT_EQ(44u, FromLe32(Records().at(2).data, 4));
    EXPECT_EQ(IndexRecord(2, {22}), Records().at(3));
    file = Open();
    EXPECT_EQ(4u, Records().size());
    EXPECT_EQ(std::vector<int>{12}, IndexOf(*file, 1));
    EXPECT_EQ(std::vector<int>{22}, IndexOf(*file, 2));
    EXPECT_EQ(std::vector<int>{44}, IndexOf(*file, 4));
}

TEST_F(CQvpFileTest, FileDeletedOrCutWhileOpen_Flush_BringsBackEveryRecord) {
    for (const bool deleted : {true, false}) {
        Write(FileOf({IndexRecord(1, {1}), IndexRecord(2, {2})}, 3, 4));
        auto file = Open();
        SetIndex(*file, 5, {5});
        EXPECT_EQ(QV_S_OK, file->Flush()); // appended: stands behind the file as it was read
        SetIndex(*file, 2, {-2});
        if (deleted)
            std::filesystem::remove(m_Path);
        else
            std::filesystem::resize_file(m_Path, 3);
        EXPECT_EQ(QV_S_OK, file->Flush());
        const auto records = Records();
        ASSERT_EQ(3u, records.size());
        EXPECT_EQ(IndexRecord(1, {1}), records[0]);
        EXPECT_EQ(IndexRecord(2, {-2}), records[1]);
        EXPECT_EQ(5u, records[2].id);
        EXPECT_EQ("\x03\x04", Read().substr(3, 2));
        file.reset();
        EXPECT_EQ(records, Records());
    }
}

TEST_F(CQvpFileTest, TornEnd_FirstAppend_CompactsInstead) {
    for (const std::string& torn : {Tail, Tail.substr(0, 3), std::string("\0\1\0\0\0\x7F\0\0\0", 9),
                                    std::string("\3\1\0\0\0\xF7\xFF\xFF\xFF", 9)}) {
        const std::string whole = FileOf({IndexRecord(1, {1})});
        Write(whole + torn);
        auto file = Open();
        EXPECT_EQ(std::vector<int>{1}, IndexOf(*file, 1));
        SetIndex(*file, 1, {2});
        EXPECT_EQ(QV_S_OK, file->Flush());
        EXPECT_EQ(FileOf({IndexRecord(1, {2})}) + torn, Read()) << "nothing to append";
        SetIndex(*file, 6, {6});
        SetIndex(*file, 7, {7});
        EXPECT_EQ(QV_S_OK, file->Flush());
        SetIndex(*file, 8, {8});
        file.reset();
        ASSERT_EQ(4u, Records().size());
        EXPECT_EQ(whole.size() + 3ul * 813, Read().size());
        EXPECT_EQ(std::vector<int>{8}, IndexOf(*Open(), 8));
    }
}

TEST_F(CQvpFileTest, NodesOfOtherTypesOrFreedBeforeTheFlush_Append_AreNeverWritten) {
    auto file = Open(1);
    const QvpNodePtr free = NewQvpNode(QvpNodeFree, 1, 8);
    const QvpNodePtr unknown = NewQvpNode(static_cast<QvpNodeType>(9), 1, 8);
    Qvp_Node* tag = NewQvpNode(QvpNodeTagList, 1, 8).release();
    free->pNext = tag;
    tag->pNext = unknown.get();
    EXPECT_EQ(QV_S_OK, file->AppendNodeList(free.get()));
    tag->nType = QvpNodeFree;
    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ(5u, Read().size());
    tag->nType = QvpNodeTagList;
    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ((std::vector<Record>{{4, 1, std::string(8, '\0')}}), Records());
}

TEST_F(CQvpFileTest, NewRecordsOfAllLists_Flush_WritesPathsFirstAndInARewriteLast) {
    auto file = Open(1);
    for (const QvpNodeType type :
         {QvpNodeTagList, QvpNodeCommentAnnotations, QvpNodeRangeAnnotations,
          QvpNodePositionAnnotations, QvpNodePathTable, QvpNodeIndexList, QvpNodeBookInfo})
        EXPECT_EQ(QV_S_OK, file->AppendNodeList(NewQvpNode(type, 1, 4).release()));
    EXPECT_EQ(QV_S_OK, file->AppendNodeList(NewQvpNode(QvpNodeTagList, 2, 4).release()));
    const auto written = [this] {
        std::string order;
        for (const Record& record : Records())
            order += std::to_string(record.type) + ":" + std::to_string(record.id) + " ";
        return order;
    };
    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ("2:1 4:2 1:1 3:1 5:1 6:1 7:1 4:1 ", written());
    std::filesystem::remove(m_Path);
    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ("4:2 1:1 3:1 5:1 6:1 7:1 4:1 2:1 ", written());
}

TEST_F(CQvpFileTest, FullRewrite_KeepsPermissionsAndLinks) {
    const std::string link = m_Path;
    m_Path = (m_Folder / "elsewhere").string();
    Write(FileOf({Dead(6000), IndexRecord(1, {1})}));
    chmod(m_Path.c_str(), 0640);
    std::filesystem::create_symlink(m_Path, link);
    CQvpFile file;
    ASSERT_EQ(QV_S_OK, file.Open(link.c_str(), 0));
    EXPECT_EQ(QV_S_OK, file.Flush());
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(FileOf({IndexRecord(1, {1})}), Read());
    struct stat status = {};
    ASSERT_EQ(0, stat(m_Path.c_str(), &status));
    EXPECT_EQ(0640u, status.st_mode & 0777);
}

TEST_F(CQvpFileTest, FileThatCannotBeOpened_Flush_FailsAndKeepsTheChanges) {
    for (const std::size_t dead : {0u, 6000u}) {
        Write(FileOf({Dead(dead), IndexRecord(1, {1})}));
        auto file = Open();
        SetIndex(*file, 1, {2});
        std::filesystem::rename(m_Path, m_Path + ".moved");
        std::filesystem::create_directory(m_Path); // what no right can open for writing
        EXPECT_EQ(QV_E_FAIL, file->Flush());
        EXPECT_EQ(2u, FilesInFolder()) << "a temporary file is left";
        std::filesystem::remove(m_Path);
        std::filesystem::rename(m_Path + ".moved", m_Path);
        EXPECT_EQ(QV_S_OK, file->Flush());
        EXPECT_EQ(IndexRecord(1, {2}), Records().back());
    }
}

TEST_F(CQvpFileTest, Stream_ReadsListsAndNeverWrites) {
    const std::string bytes = FileOf({{2, 5, "a"},
                                      IndexRecord(1, {1, 2}),
                                      {2, 0xFFFFFFFF, "b"},
                                      {3, 1, ""},
                                      IndexRecord(1, {3})}) +
                              std::string("\3\1\0\0\0\xF7\xFF\xFF\xFFmore", 13);
    auto* buffer = static_cast<unsigned char*>(::operator new(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), buffer);
    CMemoryStream stream(buffer, static_cast<long>(bytes.size()));
    {
        CQvpFile file;
        ASSERT_EQ(QV_S_OK, file.Open(&stream));
        EXPECT_EQ((std::vector<int>{1, 2, 3}), IndexOf(file, 1));
        Qvp_Node* paths = nullptr;
        EXPECT_EQ(QV_S_OK, file.AttachNodeList(QvpNodePathTable, 77, &paths));
        ASSERT_TRUE(paths && paths->pNext);
        EXPECT_EQ('b', *paths->pNext->pData);
        SetIndex(file, 1, {9, 8});
        EXPECT_EQ((std::vector<int>{9, 8}), IndexOf(file, 1));
        EXPECT_EQ(QV_S_OK, file.Flush());
    }
    EXPECT_EQ(bytes, std::string(buffer, buffer + bytes.size()));
    stream.Close();
    CQvpFile closed;
    EXPECT_EQ(QV_E_FAIL, closed.Open(&stream));
}

TEST_F(CQvpFileTest, TwoHundredMegabytesOfEmptyRecords_OpenReadAndAppend_StayUsable) {
    Write("QVP\x01");
    std::filesystem::resize_file(m_Path, 5 + 9l * 23'000'000); // a hole: no block of the disk
    auto file = Open();
    EXPECT_EQ(std::vector<int>{}, IndexOf(*file, 1));
    SetIndex(*file, 1, std::vector<int>(2000, 3));
    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ(std::vector<int>(2000, 3), IndexOf(*file, 1));
    EXPECT_EQ(5 + 9ul * 23'000'000 + 10 * 813, std::filesystem::file_size(m_Path));
}

TEST_F(CQvpFileTest, FileReplacedByAnotherWhileOpen_Flush_OverwritesNoOtherRecord) {
    Write(FileOf({IndexRecord(1, {1}), IndexRecord(2, {2})}));
    auto file = Open();
    SetIndex(*file, 2, {22});
    const std::string other = FileOf({{4, 1, std::string(100, 't')}});
    Write(other);
    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ(other, Read());
}

TEST_F(CQvpFileTest, TwoContainersOneAfterTheOther_SeeEachOthersChanges) {
    for (std::size_t size = 0; size < 1000; size += 50) {
        auto file = Open(1);
        EXPECT_EQ(std::vector<int>(size, 7), IndexOf(*file, 1));
        SetIndex(*file, 1, std::vector<int>(size + 50, 7));
    }
    EXPECT_EQ(5u, Records().size());
}

// The example of docs/reading-data-format.md.
TEST_F(CQvpFileTest, WorkedExampleOfTheDocument_Opened_HoldsWhatItSays) {
    std::ifstream document(TEST_SOURCE_DIR "/docs/reading-data-format.md");
    std::string line, bytes;
    while (std::getline(document, line) && line != "```qvp") {
    }
    while (std::getline(document, line) && line != "```") {
        std::istringstream row(line);
        for (int value = 0; row >> std::hex >> value;)
            bytes += static_cast<char>(value);
    }
    ASSERT_EQ(171u, bytes.size());
    Write(bytes);
    std::string offsets;
    std::size_t at = 5;
    for (const Record& record : Records()) {
        offsets += std::to_string(at) + " ";
        at += Bytes(record).size();
    }
    EXPECT_EQ("5 26 39 67 93 ", offsets);

    auto file = Open();
    EXPECT_EQ((std::vector<int>{1000, -1}), IndexOf(*file, 7));
    const auto table =
        Obtain<IBookPathTableProxy>([&](auto** p) { return file->GetPathTableProxy(p); });
    std::vector<Path> paths;
    EXPECT_EQ(QV_S_OK, Get(*table, &paths));
    EXPECT_EQ((std::vector<Path>{{1, 2, "/a.umd"}}), paths);
    CBookAnnotationListProxy proxy(file.get(), 7);
    std::vector<Note> ranges;
    EXPECT_EQ(QV_S_OK, Get(proxy, QvAnnotationRange, &ranges));
    EXPECT_EQ((std::vector<Note>{{3, 258, 20, ""}}), ranges);

    const auto info =
        Obtain<IBookInfoProxy>([&](auto** p) { return file->GetInfoProxy(p, 0xFFFFFFFF); });
    const auto bookmark =
        Obtain<IBookAnnotation>([&](auto** p) { return info->GetReadingBookmark(p); });
    unsigned char place[8];
    EXPECT_EQ(QV_S_OK, bookmark->WriteData(place, sizeof place));
    EXPECT_EQ(Le32(5) + Le32(12), std::string(place, place + sizeof place));
    char* name = nullptr;
    ASSERT_EQ(QV_S_OK, info->GetBookName(&name));
    EXPECT_STREQ("Moon", std::unique_ptr<char[]>(name).get());
}

} // namespace
