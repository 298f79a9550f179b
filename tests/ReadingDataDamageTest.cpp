// Damaged files, writes cut off at every byte, calls and allocations that fail.
#include <csignal>
#include <functional>
#include <new>
#include <random>

#include <sys/resource.h>

#include "IBookAnnotation.h"
#include "IBookInfoProxy.h"
#include "ReadingDataFixture.h"
#include "readingdata/CBookInfoProxyImpl.h"
#include "readingdata/CBookPathTableProxyImpl.h"
#include "readingdata/CBookTagProxyImpl.h"

using namespace QvFormat;
using namespace readingdata;

namespace {

int g_nAllocationsLeft = -1; // of the library's, the last of them fails; -1: no limit
bool g_bFailsOnce = false;   // the next ones succeed again
bool g_bSyncFails = false;

bool AllocationFails() {
    if (g_nAllocationsLeft > 0)
        --g_nAllocationsLeft;
    if (g_nAllocationsLeft != 0)
        return false;
    g_nAllocationsLeft = g_bFailsOnce ? -1 : 0;
    return true;
}

} // namespace

// The test program's own, in place of the system's: nothing here outlives the machine, and syncing
// thousands of files would take minutes.
extern "C" int fsync(int) {
    return g_bSyncFails ? -1 : 0;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return AllocationFails() ? nullptr : ::operator new(size);
    } catch (...) {
        return nullptr;
    }
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return AllocationFails() ? nullptr : ::operator new[](size);
    } catch (...) {
        return nullptr;
    }
}

namespace {

std::string Slot(const std::string& text, std::uint32_t capacity) {
    return Le32(capacity) + text + std::string(capacity - text.size(), '\0');
}

// A small book-information record with the given bookmark.
std::string InfoData(std::uint32_t block, std::uint32_t offset) {
    const std::string bookmark = '\0' + Le32(block) + Le32(offset);
    return Slot("n", 3) + Slot("a", 3) + Slot("c", 3) + Slot("p", 3) + Slot("i", 3) + Slot("s", 3) +
           '\1' + Le32(42) + Slot(bookmark, 10) + '\1' + Slot("l", 3);
}

constexpr std::uint32_t OldBlock = 0x01020304, OldOffset = 0x05060708;
constexpr std::uint32_t NewBlock = 0xF1F2F3F4, NewOffset = 0xF5F6F7F8;

const std::vector<Record> AllTypes = {
    {1, 1, InfoData(OldBlock, OldOffset)},
    {2, 0xFFFFFFFF, Le32(2) + Le32(1) + Le32(2) + "p" + '\0' + Le32(3) + Le32(4) + "q" + '\0'},
    {3, 1, Le32(2) + Le32(10) + Le32(20)},
    {4, 1, Le32(1) + "tag" + std::string(47, '\0')},
    {5, 1, Le32(1) + std::string(9, '\0')},
    {6, 1, Le32(1) + std::string(13, '\0')},
    {7, 1, Le32(1) + std::string(13, '\0') + "comment" + '\0'},
    {0, 1, "dead"},
    {9, 1, "unknown"},
    {3, 1, Le32(1) + Le32(30)},
};

// Asks for everything; what is handed out is released, and read by the sanitizer's standards.
void ReadAll(CQvpFile& file) {
    CBookInfoProxyImpl info(&file, 1);
    for (const auto get : {&IBookInfoProxy::GetBookName, &IBookInfoProxy::GetAuthorName,
                           &IBookInfoProxy::GetCoverPagePath, &IBookInfoProxy::GetPublisherName,
                           &IBookInfoProxy::GetISBN, &IBookInfoProxy::GetLatestSection,
                           &IBookInfoProxy::GetSummary}) {
        char* text = nullptr;
        (static_cast<IBookInfoProxy&>(info).*get)(&text);
        delete[] text;
    }
    IBookAnnotation* bookmark = nullptr;
    info.GetReadingBookmark(&bookmark);
    delete bookmark;
    IndexOf(file, 1);
    std::vector<std::string> tags;
    CBookTagProxyImpl tagProxy(&file, 1);
    Get(tagProxy, &tags);
    std::vector<Path> paths;
    CBookPathTableProxyImpl pathProxy(&file, 1);
    Get(pathProxy, &paths);
    std::vector<Note> notes;
    CBookAnnotationListProxy noteProxy(&file, 1);
    for (const int type : {0, 1, 2})
        Get(noteProxy, static_cast<QvAnnotationType>(type), &notes);
}

QVRESULT SetBookmark(CQvpFile& file, std::uint32_t block, std::uint32_t offset) {
    CBookAnnotationImpl bookmark(QvAnnotationPosition);
    bookmark.SetBlockIndex(block);
    bookmark.SetOffset(offset);
    return CBookInfoProxyImpl(&file, 1).SetReadingBookmark(&bookmark);
}

// No file grows past this many bytes while it lives; writes report it instead of ending the test.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_Old);
        const rlimit limit = {bytes, m_Old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_Old); }

private:
    rlimit m_Old = {};
};

class ReadingDataDamageTest : public Fixture {
protected:
    // Reads all of a damaged file and changes what it can; then a list under a new id must work as
    // in any other file, whether or not the file is opened anew.
    void Exercise(const std::string& bytes) {
        Write(bytes);
        {
            CQvpFile file;
            if (file.Open(m_Path.c_str(), 1) != QV_S_OK) {
                EXPECT_EQ(bytes, Read());
                return;
            }
            ReadAll(file);
            SetBookmark(file, 1, 2);
            SetIndex(file, 1, std::vector<int>(300, 5));
            EXPECT_EQ(QV_S_OK, SetIndex(file, 0x5A5A5A5A, {1, 2, 3}));
            EXPECT_EQ(QV_S_OK, file.Flush());
            ReadAll(file);
        }
        CQvpFile file;
        EXPECT_EQ(QV_S_OK, file.Open(m_Path.c_str(), 0));
        EXPECT_EQ((std::vector<int>{1, 2, 3}), IndexOf(file, 0x5A5A5A5A));
        EXPECT_EQ(std::vector<int>(300, 5), IndexOf(file, 1));
    }

    // Runs `change` on a file and flushes, for every number of bytes that its writes may reach, and
    // looks at what is left.
    void CutAtEveryByte(const std::string& before, std::size_t limits,
                        const std::function<void(CQvpFile&)>& change,
                        const std::function<void(const std::string&)>& check) {
        for (std::size_t limit = 0; limit < limits; ++limit) {
            Write(before);
            auto file = Open();
            change(*file);
            {
                const FileSizeLimit cut(limit);
                EXPECT_EQ(QV_S_OK, file->Flush());
                if (limit % 2)
                    file.reset();
            }
            const std::string after = Read();
            check(after);
            ASSERT_EQ(1u, FilesInFolder());
            ASSERT_FALSE(HasFailure()) << "cut at " << limit;
            std::filesystem::remove(m_Path); // replacing it would sync on some file systems
            file.reset();
        }
    }

    static std::vector<Record> WithNewBookmark(std::vector<Record> records) {
        for (Record& record : records) {
            if (record.type == 1)
                record.data = InfoData(NewBlock, NewOffset);
        }
        return records;
    }
};

TEST_F(ReadingDataDamageTest, EveryTruncationAndByteChange_ReadAndChanged_StaysUsable) {
    const std::string good = FileOf(AllTypes);
    for (std::size_t size = 0; size <= good.size() && !HasFailure(); ++size)
        Exercise(good.substr(0, size));
    for (std::size_t at = 0; at < good.size() && !HasFailure(); ++at) {
        for (const int change : {0x01, 0x07, 0x80, 0xFF}) {
            std::string bytes = good;
            bytes[at] = static_cast<char>(bytes[at] ^ change);
            Exercise(bytes);
        }
        EXPECT_FALSE(HasFailure()) << "changed at " << at;
    }
}

TEST_F(ReadingDataDamageTest, RandomRecordsAndBytes_ReadAndChanged_StayUsable) {
    std::mt19937 random(7);
    for (int i = 0; i < 400 && !HasFailure(); ++i) {
        std::string bytes = FileOf({});
        for (unsigned long n = random() % 9; n > 0; --n) {
            std::string data(random() % 70, '\0');
            for (char& c : data)
                c = static_cast<char>(random() % 3 ? random() % 4 : random());
            bytes += Bytes({static_cast<int>(random() % 9), 1, data});
        }
        for (unsigned long n = random() % 20; n > 0; --n)
            bytes += static_cast<char>(random());
        Exercise(bytes);
    }
}

TEST_F(ReadingDataDamageTest, UpdateCutAtEveryByte_LeavesOldOrNewRecordAndAllOthers) {
    const std::string before = FileOf(AllTypes);
    const std::string updated = FileOf(WithNewBookmark(AllTypes));
    int old = 0, now = 0;
    CutAtEveryByte(
        before, before.size(), [](CQvpFile& file) { SetBookmark(file, NewBlock, NewOffset); },
        [&](const std::string& after) {
            EXPECT_TRUE(after == before || after == updated);
            ++(after == before ? old : now);
        });
    EXPECT_LT(80, old);
    EXPECT_LT(200, now);
}

TEST_F(ReadingDataDamageTest, AppendCutAtEveryByte_LeavesWholeRecordsAndIsMadeUpForLater) {
    const std::string before = FileOf(AllTypes);
    const auto change = [](CQvpFile& file) {
        SetIndex(file, 8, {1, 2, 3});
        SetBookmark(file, NewBlock, NewOffset);
        SetIndex(file, 9, {4});
    };
    CutAtEveryByte(before, before.size() + 2ul * 813 + 1, change, [&](const std::string& after) {
        const auto records = RecordsOf(after);
        ASSERT_LE(AllTypes.size(), records.size());
        const std::vector<Record> first(records.begin(),
                                        records.begin() + static_cast<long>(AllTypes.size()));
        EXPECT_TRUE(first == AllTypes || first == WithNewBookmark(AllTypes));
        EXPECT_EQ(0u, (after.size() - before.size()) % 813) << "half a record is left";
    });

    Write(before);
    auto file = Open();
    SetIndex(*file, 8, {1, 2, 3});
    {
        const FileSizeLimit cut(before.size() + 100);
        EXPECT_EQ(QV_S_OK, file->Flush());
    }
    SetIndex(*file, 9, {4});
    file.reset();
    file = Open();
    EXPECT_EQ((std::vector<int>{1, 2, 3}), IndexOf(*file, 8));
    EXPECT_EQ(std::vector<int>{4}, IndexOf(*file, 9));
}

TEST_F(ReadingDataDamageTest, FullRewriteCutAtEveryByte_LeavesTheOldOrTheNewFile) {
    std::vector<Record> records = AllTypes;
    records[7].data.assign(5200, 'x');
    const std::string before = FileOf(records);
    records.erase(records.begin() + 7);
    const auto rewritten = WithNewBookmark(records);
    int old = 0, now = 0;
    CutAtEveryByte(
        before, FileOf(rewritten).size() + 813 + 10,
        [](CQvpFile& file) {
            SetBookmark(file, NewBlock, NewOffset);
            SetIndex(file, 8, {1});
        },
        [&](const std::string& after) {
            auto left = RecordsOf(after);
            ++(after == before ? old : now);
            if (after != before) {
                EXPECT_EQ(8u, left.back().id);
                left.pop_back();
                EXPECT_EQ(rewritten, left);
            }
        });
    EXPECT_LT(1000, old);
    EXPECT_EQ(10, now);
}

TEST_F(ReadingDataDamageTest, CreationCutAtEveryByte_LeavesNoFileThatCannotBeOpened) {
    for (std::size_t limit = 0; limit < 5; ++limit) {
        CQvpFile file;
        const FileSizeLimit cut(limit);
        EXPECT_EQ(QV_E_FAIL, file.Open(m_Path.c_str(), 1));
        EXPECT_EQ(0u, FilesInFolder());
    }
    Open(1);
}

TEST_F(ReadingDataDamageTest, FullRewriteThatCannotBeMadeDurable_LeavesFileAndIsMadeUpForLater) {
    std::vector<Record> records = AllTypes;
    records[7].data.assign(5200, 'x');
    Write(FileOf(records));
    auto file = Open();
    SetBookmark(*file, NewBlock, NewOffset);
    SetIndex(*file, 8, {1});
    g_bSyncFails = true;
    EXPECT_EQ(QV_S_OK, file->Flush());
    g_bSyncFails = false;
    EXPECT_EQ(FileOf(records), Read());
    EXPECT_EQ(1u, FilesInFolder());
    EXPECT_EQ(QV_S_OK, file->Flush());
    EXPECT_EQ(WithNewBookmark(AllTypes)[0], Records()[0]);
    EXPECT_EQ(8u, Records().back().id);
}

TEST_F(ReadingDataDamageTest, FailedRewriteOfAMissingFile_ThatComesBack_IsUpdatedInPlace) {
    Write(FileOf(AllTypes));
    auto file = Open();
    SetIndex(*file, 6, {6});
    EXPECT_EQ(QV_S_OK, file->Flush());
    SetIndex(*file, 6, {66});
    SetIndex(*file, 8, {8});
    SetBookmark(*file, NewBlock, NewOffset);
    std::filesystem::rename(m_Path, m_Path + ".away");
    g_bSyncFails = true;
    EXPECT_EQ(QV_S_OK, file->Flush());
    g_bSyncFails = false;
    EXPECT_EQ(1u, FilesInFolder());
    std::filesystem::rename(m_Path + ".away", m_Path);
    file.reset();
    file = Open();
    EXPECT_EQ(AllTypes.size() + 2, Records().size());
    EXPECT_EQ(WithNewBookmark(AllTypes)[0], Records()[0]);
    EXPECT_EQ(std::vector<int>{66}, IndexOf(*file, 6));
    EXPECT_EQ(std::vector<int>{8}, IndexOf(*file, 8));
}

TEST_F(ReadingDataDamageTest, EveryAllocationFailing_LosesAndDoublesNoRecord) {
    std::vector<Record> records = AllTypes;
    records[7].data.assign(5200, 'x');
    for (int run = 0; run < 160 && !HasFailure(); ++run) {
        const int failing = run / 2 + 1;
        g_bFailsOnce = run % 2 != 0;
        Write(FileOf(records));
        {
            CQvpFile file;
            g_nAllocationsLeft = failing;
            if (file.Open(m_Path.c_str(), 0) == QV_S_OK) {
                SetBookmark(file, NewBlock, NewOffset);
                SetIndex(file, 1, std::vector<int>(500, 7));
                ReadAll(file);
                file.Flush();
                g_nAllocationsLeft = -1;
                SetIndex(file, 6, {6});
            }
            g_nAllocationsLeft = -1;
        }
        auto file = Open();
        int infos = 0;
        for (const Record& record : Records())
            infos += record.type == 1;
        EXPECT_EQ(1, infos) << failing;
        const std::string info = Records()[0].data;
        EXPECT_TRUE(info == AllTypes[0].data || info == InfoData(NewBlock, NewOffset));
        const auto index = IndexOf(*file, 1);
        const bool bOld = index == std::vector<int>{10, 20, 30};
        EXPECT_TRUE(bOld || index == std::vector<int>(500, 7) ||
                    (index.size() >= 3 && index == std::vector<int>(index.size(), 7)))
            << failing << ": " << index.size();
    }
}

} // namespace
