#include <algorithm>
#include <fstream>
#include <sstream>

#include <sys/stat.h>

#include "ReadingDataFixture.h"
#include "base/CMemoryStream.h"
#include "readingdata/CBookInfoManager.h"
#include "readingdata/CBookInfoProxyImpl.h"
#include "readingdata/CBookPathTableProxyImpl.h"
#include "readingdata/CBookTagProxyImpl.h"

using namespace readingdata;

namespace {

const std::string kTail = std::string("\x03\x01\0\0\0\x40\0\0\0torn", 13); // says 64 bytes, has 4

// An index record of exactly its entries, or with room for `room` bytes of them.
Record Index(std::uint32_t id, const std::vector<int>& entries, std::size_t room = 0) {
    std::string data = Le32(static_cast<std::uint32_t>(entries.size()));
    for (int entry : entries)
        data += Le32(static_cast<std::uint32_t>(entry));
    data.resize(std::max(data.size(), 4 + room));
    return {3, id, data};
}

Record NewIndex(std::uint32_t id, int entry) {
    return Index(id, {entry}, 800);
}

Record Dead(std::size_t size) {
    return {0, 9, std::string(size, 'x')};
}

using CQvpFileTest = Fixture;

TEST_F(CQvpFileTest, BookWithoutReadingDataOpenedWithCreateGetsFiveByteFile) {
    const auto open = CBookInfoManager::GetBookInfoEntity;
    const std::string book = m_Path.substr(0, m_Path.size() - 4);
    IBookInfoEntity* entity = nullptr;
    EXPECT_EQ(open(book.c_str(), &entity, 0), QV_E_FAIL);
    EXPECT_EQ(FilesInFolder(), 0);
    ASSERT_EQ(open(book.c_str(), &entity, 1), QV_S_OK);
    EXPECT_EQ(std::string("QVP\x01\0", 5), Read());
    IBookAnnotationProxy* none = nullptr;
    EXPECT_EQ(entity->GetAnnotationProxy(&none, 1), QV_E_NOTIMPL);
    EXPECT_EQ(entity->Save(m_Path.c_str()), QV_E_NOTIMPL);
    EXPECT_EQ(entity->Save(static_cast<IQVSequentialStream*>(nullptr)), QV_E_NOTIMPL);
    delete entity;
    EXPECT_EQ(FilesInFolder(), 1);

    EXPECT_EQ(open(nullptr, &entity, 1), QV_E_INVALIDARG);
    EXPECT_EQ(open("", &entity, 1), QV_E_INVALIDARG);
    EXPECT_EQ(open(book.c_str(), nullptr, 1), QV_E_INVALIDARG);
    EXPECT_EQ(open("/no/such/folder/b", &entity, 1), QV_E_FAIL);
    EXPECT_EQ(entity, nullptr);
}

TEST_F(CQvpFileTest, FileThatIsNoReadingDataOpenFailsAndLeavesIt) {
    for (const std::string& bytes : {std::string(), std::string("QVP\x01"),
                                     std::string("QVX\1\0", 5), std::string("\0QVP\1\0", 6)}) {
        Write(bytes);
        CQvpFile file;
        EXPECT_EQ(file.Open(m_Path.c_str(), 1), QV_E_FAIL);
        EXPECT_EQ(file.Flush(), QV_E_NOTREADY);
        EXPECT_EQ(bytes, Read());
    }
    EXPECT_EQ(CQvpFile().Open(m_Folder.c_str(), 1), QV_E_FAIL);
    // Of any size: no memory is taken for it.
    std::filesystem::resize_file(m_Path, std::uintmax_t{1} << (sizeof(long) == 8 ? 40 : 30));
    EXPECT_EQ(CQvpFile().Open(m_Path.c_str(), 1), QV_E_FAIL);
}

TEST_F(CQvpFileTest, EveryOperationNotOpenOrNullPointerRefusesInThatOrder) {
    CQvpFile file;
    for (const QVRESULT expected : {QV_E_NOTREADY, QV_E_INVALIDARG}) {
        EXPECT_EQ(expected, file.GetInfoProxy(nullptr, 0));
        EXPECT_EQ(expected, file.GetIndexProxy(nullptr, 0));
        EXPECT_EQ(expected, file.GetTagProxy(nullptr, 0));
        EXPECT_EQ(expected, file.GetPathTableProxy(nullptr));
        EXPECT_EQ(expected, file.AppendNodeList(nullptr));
        EXPECT_EQ(expected, file.AttachNodeList(QvpNodeTagList, 0, nullptr));
        Qvp_Node* head = nullptr;
        EXPECT_EQ(expected, file.AttachNodeList(QvpNodeFree, 0, &head));
        EXPECT_EQ(expected, file.AttachNodeList(static_cast<QvpNodeType>(8), 0, &head));
        const bool isOpen = expected == QV_E_INVALIDARG;
        const QVRESULT opened = isOpen ? QV_E_FAIL : QV_E_INVALIDARG;
        EXPECT_EQ(opened, file.Open(static_cast<const char*>(nullptr), 1));
        EXPECT_EQ(opened, file.Open(static_cast<IQVSequentialStream*>(nullptr)));
        EXPECT_EQ(isOpen ? QV_E_FAIL : QV_S_OK, file.Open(m_Path.c_str(), 1));
    }
}

// Other annotations are in AnnotationTest, book information in BookInfoProxyTest.
TEST_F(CQvpFileTest, NewAndChangedListsFlushedHaveTheBytesOfTheFormat) {
    const auto room = [](const std::string& data, std::size_t size) {
        return data + std::string(size - data.size(), '\0');
    };
    std::vector<Record> expected = {
        {2, 0xFFFFFFFF, room(Le32(1) + Le32(8) + Le32(9) + "a.umd", 512)},
        Index(7, {1000, -1}, 800),
        {6, 7, room(Le32(1) + '\0' + Le32(3) + Le32(4) + Le32(5), 512)},
        {4, 7, room(Le32(2) + room("tag", 50) + "b", 504)}};
    auto file = Open(1);
    SetIndex(*file, 7, {1000, -1});
    SetBy<CBookTagProxyImpl>(*file, 7, std::vector<std::string>{"tag", "b"});
    SetBy<CBookAnnotationListProxy>(*file, 7, QvAnnotationRange, std::vector<Note>{{3, 4, 5, ""}});
    SetBy<CBookPathTableProxyImpl>(*file, 0xFFFFFFFF, std::vector<Path>{{8, 9, "a.umd"}});
    EXPECT_EQ(file->Flush(), QV_S_OK);
    EXPECT_EQ(FileOf(expected), Read());
    SetIndex(*file, 7, {2});
    SetBy<CBookTagProxyImpl>(*file, 7, std::vector<std::string>{});
    file.reset();
    expected[1].data.replace(0, 8, Le32(1) + Le32(2));
    expected[3].type = 0;
    EXPECT_EQ(FileOf(expected), Read());
}

TEST_F(CQvpFileTest, FreeDataAtAndAboveTheLimitUpdatesInPlaceOrCompactsKeepingModeAndLink) {
    const std::string link = m_Path;
    m_Path = (m_Folder / std::string(255, 'e')).string(); // as long as a name may be
    std::filesystem::create_symlink(m_Path, link);
    const std::vector<Record> live = {Index(5, {1}), {9, 1, "kept"}, {4, 3, ""}, Index(5, {2})};
    for (const std::size_t size : {5120u, 5121u}) {
        const std::string before =
            FileOf({live[0], Dead(120), live[1], Dead(size - 120), live[2], live[3]}, 7, 9) + kTail;
        Write(before);
        chmod(m_Path.c_str(), 0640);
        CQvpFile file;
        EXPECT_EQ(file.Open(link.c_str(), 0), QV_S_OK);
        EXPECT_EQ(file.Flush(), QV_S_OK);
        EXPECT_EQ(size == 5120 ? before : FileOf(live, 7, 9), Read());
        EXPECT_TRUE(std::filesystem::is_symlink(link));
        EXPECT_EQ(std::filesystem::perms{0640}, std::filesystem::status(m_Path).permissions());
        EXPECT_EQ(FilesInFolder(), 2);
    }
}

TEST_F(CQvpFileTest, CompactionProxiesAndLaterFlushesGoOnWithTheNewFile) {
    Write(FileOf({Dead(3000), Index(1, {1}), Dead(3000), Index(2, {2}), Index(3, {3})}));
    auto file = Open();
    CBookIndexProxyImpl first(file.get(), 1);
    EXPECT_EQ(Set(first, std::vector<int>{11}), QV_S_OK);
    SetIndex(*file, 2, {});  // freed: not copied
    SetIndex(*file, 4, {4}); // new
    for (int flush = 0; flush < 2; ++flush) {
        EXPECT_EQ(file->Flush(), QV_S_OK);
        EXPECT_EQ(FileOf({Index(1, {11}), Index(3, {3}), NewIndex(4, 4)}), Read());
    }
    EXPECT_EQ(Set(first, std::vector<int>{12}), QV_S_OK);
    SetIndex(*file, 2, {22}); // the freed record comes back as a new one
    SetIndex(*file, 4, {44});
    EXPECT_EQ(file->Flush(), QV_S_OK);
    file = Open();
    EXPECT_EQ(FileOf({Index(1, {12}), Index(3, {3}), NewIndex(4, 44), Index(2, {22})}), Read());
}

TEST_F(CQvpFileTest, FileDeletedOrCutWhileOpenFlushBringsBackEveryRecord) {
    // Bytes that are left; the last cut takes only what an earlier flush appended.
    for (const int left : {-1, 3, 5, 22, 44 + 813 - 1, 44 + 813}) {
        Write(FileOf({Index(1, {1}), Index(2, {2})}, 3, 4));
        auto file = Open();
        SetIndex(*file, 5, {5});
        SetIndex(*file, 6, {6});
        EXPECT_EQ(file->Flush(), QV_S_OK); // appended: stands after the file as it was read
        SetIndex(*file, 2, {-2});
        if (left < 0)
            std::filesystem::remove(m_Path);
        else
            std::filesystem::resize_file(m_Path, static_cast<std::uintmax_t>(left));
        EXPECT_EQ(file->Flush(), QV_S_OK);
        EXPECT_EQ(FileOf(Records(), 3, 4), Read());
        file.reset();
        file = Open();
        for (const auto& [id, entry] : {std::pair{1u, 1}, {2u, -2}, {5u, 5}, {6u, 6}})
            EXPECT_EQ(std::vector<int>{entry}, IndexOf(*file, id)) << left;
        EXPECT_EQ(Records().size(), 4u) << left;
    }
}

// Two of a kind are opened before either writes; `dead` bytes of free data make the second compact.
TEST_F(CQvpFileTest, FileGrownByAnotherFlushKeepsItsRecordsAndAddsNoTwin) {
    for (const std::size_t dead : {10u, 6000u}) {
        Write(FileOf({Dead(dead), Index(1, {1})}));
        auto one = Open(), other = Open();
        SetBy<CBookInfoProxyImpl>(*one, 1, Note(1, 1, 0, ""));
        SetIndex(*one, 1, {11});
        SetIndex(*one, 2, std::vector<int>(300, 2));
        SetIndex(*one, 3, {3});
        one.reset();
        SetIndex(*other, 4, {4});
        EXPECT_EQ(other->Flush(), QV_S_OK);
        EXPECT_EQ(std::vector<int>{3}, IndexOf(*Open(), 3));
        SetBy<CBookInfoProxyImpl>(*other, 1, Note(2, 2, 0, ""));
        SetIndex(*other, 2, {22});
        SetIndex(*other, 4, {44});
        other.reset();
        const auto records = Records();
        EXPECT_EQ(std::count_if(records.begin(), records.end(),
                                [](const Record& record) { return record.type == 1; }),
                  1);
        const auto file = Open();
        EXPECT_EQ(std::pair(QV_S_OK, Note(2, 2, 0, "")), GetBy<CBookInfoProxyImpl>(*file, 1));
        for (const auto& [id, entry] : {std::pair{1, 11}, {2, 22}, {3, 3}, {4, 44}})
            EXPECT_EQ(std::vector<int>{entry}, IndexOf(*file, static_cast<unsigned int>(id)))
                << dead;
    }
}

TEST_F(CQvpFileTest, PipeOrDeviceOpenFails) {
    alarm(20); // where opening it waits for a writer
    ASSERT_EQ(mkfifo(m_Path.c_str(), 0666), 0);
    EXPECT_EQ(CQvpFile().Open(m_Path.c_str(), 1), QV_E_FAIL);
    alarm(0);
    std::filesystem::remove(m_Path);
    std::filesystem::create_symlink("/dev/zero", m_Path);
    EXPECT_EQ(CQvpFile().Open(m_Path.c_str(), 1), QV_E_FAIL);
}

TEST_F(CQvpFileTest, TornEndFirstAppendCompactsInstead) {
    for (const std::string& torn :
         {kTail, kTail.substr(0, 3), std::string("\0\1\0\0\0\x7F\0\0\0", 9),
          std::string("\3\1\0\0\0\xF7\xFF\xFF\xFF", 9)}) {
        Write(FileOf({Index(1, {1})}) + torn);
        auto file = Open();
        EXPECT_EQ(std::vector<int>{1}, IndexOf(*file, 1));
        SetIndex(*file, 1, {2});
        EXPECT_EQ(file->Flush(), QV_S_OK);
        EXPECT_EQ(FileOf({Index(1, {2})}) + torn, Read()) << "nothing to append";
        SetIndex(*file, 6, {6});
        SetIndex(*file, 7, {7});
        EXPECT_EQ(file->Flush(), QV_S_OK);
        SetIndex(*file, 8, {8});
        file.reset();
        EXPECT_EQ(FileOf({Index(1, {2}), NewIndex(7, 7), NewIndex(6, 6), NewIndex(8, 8)}), Read());
    }
}

TEST_F(CQvpFileTest, NewNodesOfEveryTypeFlushWritesPathsFirstAndInACompactionLast) {
    auto file = Open(1);
    const QvpNodePtr free = NewQvpNode(QvpNodeFree, 1, 1);
    const QvpNodePtr unknown = NewQvpNode(static_cast<QvpNodeType>(9), 1, 1);
    Qvp_Node* tail = free.get();
    for (const int type : {7, 6, 5, 2, 3, 1, 4, 4})
        tail = tail->pNext = NewQvpNode(static_cast<QvpNodeType>(type), 1, 1).release();
    tail->nId = 2;
    tail->pNext = unknown.get();
    EXPECT_EQ(file->AppendNodeList(free.get()), QV_S_OK);
    tail->nType = QvpNodeFree; // freed before the first flush: never written
    const std::string z(1, '\0');
    std::vector<Record> expected = {{2, 1, z}, {1, 1, z}, {3, 1, z}, {5, 1, z},
                                    {6, 1, z}, {7, 1, z}, {4, 1, z}};
    EXPECT_EQ(file->Flush(), QV_S_OK);
    EXPECT_EQ(expected, Records());
    tail->nType = QvpNodeTagList;
    std::filesystem::remove(m_Path);
    EXPECT_EQ(file->Flush(), QV_S_OK);
    std::rotate(expected.begin(), expected.begin() + 1, expected.end());
    expected.insert(expected.begin(), {4, 2, z});
    EXPECT_EQ(expected, Records());
}

TEST_F(CQvpFileTest, FileThatCannotBeOpenedFlushFailsAndKeepsTheChanges) {
    for (const auto& [pipe, dead] : {std::pair{false, 0}, {false, 6000}, {true, 0}, {true, 6000}}) {
        Write(FileOf({Dead(static_cast<std::size_t>(dead)), Index(1, {1})}));
        auto file = Open();
        SetIndex(*file, 1, {2});
        std::filesystem::rename(m_Path, m_Path + ".moved");
        ASSERT_EQ(pipe ? mkfifo(m_Path.c_str(), 0666) : mkdir(m_Path.c_str(), 0777), 0);
        EXPECT_EQ(file->Flush(), QV_E_FAIL);
        EXPECT_EQ(FilesInFolder(), 2) << "a temporary file is left";
        EXPECT_EQ(pipe, std::filesystem::is_fifo(m_Path));
        std::filesystem::remove(m_Path);
        std::filesystem::rename(m_Path + ".moved", m_Path);
        EXPECT_EQ(file->Flush(), QV_S_OK);
        EXPECT_EQ(Index(1, {2}), Records().back());
    }
}

TEST_F(CQvpFileTest, StreamReadsListsAndNeverWrites) {
    const std::string bytes = FileOf({Index(1, {1, 2}), {3, 1, ""}, Index(1, {3})}) +
                              std::string("\3\1\0\0\0\xF7\xFF\xFF\xFFmore", 13);
    auto* buffer = static_cast<unsigned char*>(::operator new(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), buffer);
    CMemoryStream stream(buffer, static_cast<long>(bytes.size()));
    {
        CQvpFile file;
        ASSERT_EQ(file.Open(&stream), QV_S_OK);
        EXPECT_EQ((std::vector<int>{1, 2, 3}), IndexOf(file, 1));
        SetIndex(file, 1, {9, 8});
        EXPECT_EQ((std::vector<int>{9, 8}), IndexOf(file, 1));
        EXPECT_EQ(file.Flush(), QV_S_OK);
    }
    EXPECT_EQ(bytes, std::string(buffer, buffer + bytes.size()));
    stream.Close();
    EXPECT_EQ(CQvpFile().Open(&stream), QV_E_FAIL);
}

TEST_F(CQvpFileTest, TwoHundredMegabytesOfEmptyRecordsOpenReadAndAppendStayUsable) {
    Write("QVP\x01");
    std::filesystem::resize_file(m_Path, 5 + 9l * 23'000'000); // a hole: no block of the disk
    auto file = Open();
    EXPECT_EQ(std::vector<int>{}, IndexOf(*file, 1));
    SetIndex(*file, 1, std::vector<int>(2000, 3));
    EXPECT_EQ(file->Flush(), QV_S_OK);
    EXPECT_EQ(std::vector<int>(2000, 3), IndexOf(*file, 1));
    EXPECT_EQ(5 + 9ul * 23'000'000 + 10 * 813, std::filesystem::file_size(m_Path));
}

TEST_F(CQvpFileTest, FileReplacedByAnotherWhileOpenFlushOverwritesNoOtherRecord) {
    Write(FileOf({Index(1, {1}), Index(2, {2})}));
    auto file = Open();
    SetIndex(*file, 2, {22});
    const std::string other = FileOf({{4, 1, std::string(100, 't')}});
    Write(other);
    EXPECT_EQ(file->Flush(), QV_S_OK);
    EXPECT_EQ(other, Read());
}

// The example of docs/reading-data-format.md.
TEST_F(CQvpFileTest, WorkedExampleOfTheDocumentOpenedHoldsWhatItSays) {
    std::ifstream document(TEST_SOURCE_DIR "/docs/reading-data-format.md");
    std::string line, bytes;
    while (std::getline(document, line) && line != "```qvp") {
    }
    while (std::getline(document, line) && line != "```") {
        std::istringstream row(line);
        for (int value = 0; row >> std::hex >> value;)
            bytes += static_cast<char>(value);
    }
    ASSERT_EQ(bytes.size(), 171u);
    Write(bytes);
    EXPECT_EQ(bytes, FileOf(Records()));
    auto file = Open();
    EXPECT_EQ((std::vector<int>{1000, -1}), IndexOf(*file, 7));
    EXPECT_EQ(std::pair(QV_S_OK, std::vector<Path>{{1, 2, "/a.umd"}}),
              GetBy<CBookPathTableProxyImpl>(*file, 7));
    EXPECT_EQ(std::pair(QV_S_OK, std::vector<Note>{{3, 258, 20, ""}}),
              GetBy<CBookAnnotationListProxy>(*file, 7, QvAnnotationRange));
    CBookInfoProxyImpl info(file.get(), 0xFFFFFFFF);
    EXPECT_EQ(std::pair(QV_S_OK, Note(5, 12, 0, "")), Get(info));
    EXPECT_EQ(Get(info, &IBookInfoProxy::GetBookName), "Moon");
}

} // namespace
