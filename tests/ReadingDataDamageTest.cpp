// Damaged files, writes cut off at every byte, calls and allocations that fail.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <random>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "FailingMemory.h"
#include "ReadingDataFixture.h"
#include "readingdata/CBookInfoProxyImpl.h"
#include "readingdata/CBookPathTableProxyImpl.h"
#include "readingdata/CBookTagProxyImpl.h"

using namespace readingdata;

namespace {

int g_nSyncError = -1; // what syncing answers in errno; -1: it succeeds
int g_nSyncs = 0;
bool g_bDiesSyncing = false;
bool g_bCutFails = false; // no file can be cut off

// No file grows past this many bytes any more; writes report it instead of ending the test.
void LimitFileSize(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

// The test program's own, in place of the system's: nothing here outlives the machine, and syncing
// thousands of files would take minutes.
extern "C" int fsync(int) {
    ++g_nSyncs;
    if (g_bDiesSyncing)
        _exit(0);
    errno = std::max(g_nSyncError, 0);
    return g_nSyncError < 0 ? 0 : -1;
}

extern "C" int ftruncate(int file, off_t length) noexcept {
    if (!g_bCutFails)
        return ftruncate64(file, length);
    LimitFileSize(RLIM_INFINITY); // there is room again
    return -1;
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

constexpr std::uint32_t kOldBlock = 0x01020304, OldOffset = 0x05060708;
constexpr std::uint32_t kNewBlock = 0xF1F2F3F4, NewOffset = 0xF5F6F7F8;

const std::vector<Record> kAllTypes = {
    {1, 1, InfoData(kOldBlock, OldOffset)},
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

class ReadingDataDamageTest : public Fixture {
protected:
    // Asks for everything; what is handed out is released, and read by the sanitizer's standards.
    static void ReadAll(CQvpFile& file) {
        CBookInfoProxyImpl info(&file, 1);
        for (const StringField& field : kStringFields)
            Get(info, field.get);
        Get(info);
        IndexOf(file, 1);
        GetBy<CBookTagProxyImpl>(file, 1);
        GetBy<CBookPathTableProxyImpl>(file, 1);
        for (const int type : {0, 1, 2})
            GetBy<CBookAnnotationListProxy>(file, 1, static_cast<QvAnnotationType>(type));
    }

    static void SetBookmark(CQvpFile& file) {
        SetBy<CBookInfoProxyImpl>(file, 1, Note(kNewBlock, NewOffset, 0, ""));
    }

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
            SetBookmark(file);
            SetIndex(file, 1, std::vector<int>(300, 5));
            EXPECT_EQ(SetIndex(file, 0x5A5A5A5A, {1, 2, 3}), QV_S_OK);
            EXPECT_EQ(file.Flush(), QV_S_OK);
            ReadAll(file);
        }
        const auto file = Open();
        EXPECT_EQ((std::vector<int>{1, 2, 3}), IndexOf(*file, 0x5A5A5A5A));
        EXPECT_EQ(std::vector<int>(300, 5), IndexOf(*file, 1));
    }

    // Runs `change` on a file and flushes, for every number of bytes that its writes may reach;
    // `isWhole` looks at what is left. Returns how often that was the old file.
    int CutAtEveryByte(const std::string& before, int limits,
                       const std::function<void(CQvpFile&)>& change,
                       const std::function<bool(const std::string&)>& isWhole) {
        int old = 0;
        for (int limit = 0; limit < limits && !HasFailure(); ++limit) {
            Write(before);
            auto file = Open();
            change(*file);
            LimitFileSize(static_cast<rlim_t>(limit));
            EXPECT_EQ(file->Flush(), QV_S_OK);
            if (limit % 2)
                file.reset();
            LimitFileSize(RLIM_INFINITY);
            const std::string after = Read();
            old += after == before;
            EXPECT_TRUE(after == before || isWhole(after)) << "cut at " << limit;
            EXPECT_EQ(FilesInFolder(), 1);
            std::filesystem::remove(m_Path); // replacing it would sync on some file systems
        }
        return old;
    }

    static std::vector<Record> WithNewBookmark(std::vector<Record> records) {
        records[0].data = InfoData(kNewBlock, NewOffset);
        return records;
    }

    // What a flush compacts.
    static std::vector<Record> WithDeadSpace() {
        std::vector<Record> records = kAllTypes;
        records[7].data.assign(5200, 'x');
        return records;
    }
};

TEST_F(ReadingDataDamageTest, EveryTruncationAndByteChangeReadAndChangedStaysUsable) {
    const std::string good = FileOf(kAllTypes);
    Exercise(good);
    for (std::size_t at = 0; at < good.size() && !HasFailure(); ++at) {
        Exercise(good.substr(0, at));
        for (const int change : {0x01, 0x07, 0x80, 0xFF}) {
            std::string bytes = good;
            bytes[at] = static_cast<char>(bytes[at] ^ change);
            Exercise(bytes);
        }
        EXPECT_FALSE(HasFailure()) << "cut or changed at " << at;
    }
}

TEST_F(ReadingDataDamageTest, UpdateCutAtEveryByteLeavesOldOrNewRecordAndAllOthers) {
    const std::string before = FileOf(kAllTypes), updated = FileOf(WithNewBookmark(kAllTypes));
    const auto size = static_cast<int>(before.size());
    const int old = CutAtEveryByte(before, size, SetBookmark,
                                   [&](const std::string& after) { return after == updated; });
    EXPECT_LT(80, old);
    EXPECT_LT(200, size - old);
}

TEST_F(ReadingDataDamageTest, AppendCutAtEveryByteLeavesWholeRecordsAndIsMadeUpForLater) {
    const std::string before = FileOf(kAllTypes), updated = FileOf(WithNewBookmark(kAllTypes));
    const auto change = [](CQvpFile& file) {
        SetIndex(file, 8, {1, 2, 3});
        SetBookmark(file);
        SetIndex(file, 9, {4});
    };
    CutAtEveryByte(before, static_cast<int>(before.size()) + 2 * 813 + 1, change,
                   [&](const std::string& after) {
                       const std::string first = after.substr(0, before.size());
                       return (first == before || first == updated) &&
                              (after.size() - first.size()) % 813 == 0;
                   });

    Write(before);
    auto file = Open();
    SetIndex(*file, 8, {1, 2, 3});
    LimitFileSize(before.size() + 100);
    EXPECT_EQ(file->Flush(), QV_S_OK);
    LimitFileSize(RLIM_INFINITY);
    SetIndex(*file, 9, {4});
    file.reset();
    file = Open();
    EXPECT_EQ((std::vector<int>{1, 2, 3}), IndexOf(*file, 8));
    EXPECT_EQ(std::vector<int>{4}, IndexOf(*file, 9));
}

TEST_F(ReadingDataDamageTest, CompactionCutAtEveryByteLeavesTheOldOrTheNewFile) {
    std::vector<Record> rewritten = WithNewBookmark(kAllTypes);
    rewritten[7] = {3, 8, Le32(1) + Le32(1) + std::string(796, '\0')};
    std::rotate(rewritten.begin() + 7, rewritten.begin() + 8, rewritten.end());
    const auto size = static_cast<int>(FileOf(rewritten).size());
    const auto change = [](CQvpFile& file) {
        SetBookmark(file);
        SetIndex(file, 8, {1});
    };
    const auto isNew = [&](const std::string& after) { return after == FileOf(rewritten); };
    EXPECT_EQ(size, CutAtEveryByte(FileOf(WithDeadSpace()), size + 10, change, isNew));
}

TEST_F(ReadingDataDamageTest, CreationCutAtEveryByteLeavesNoFileThatCannotBeOpened) {
    for (rlim_t limit = 0; limit < 5; ++limit) {
        LimitFileSize(limit);
        EXPECT_EQ(CQvpFile().Open(m_Path.c_str(), 1), QV_E_FAIL);
        EXPECT_EQ(FilesInFolder(), 0);
    }
    LimitFileSize(RLIM_INFINITY);
    Open(1);
}

// Of a file with dead space, and of one that is away while the flush fails.
TEST_F(ReadingDataDamageTest, CompactionThatCannotBeMadeDurableLeavesFileAndIsMadeUpForLater) {
    for (const bool away : {false, true}) {
        Write(FileOf(away ? kAllTypes : WithDeadSpace()));
        auto file = Open();
        if (away) {
            SetIndex(*file, 6, {6});
            EXPECT_EQ(file->Flush(), QV_S_OK);
        }
        const std::string before = Read();
        SetIndex(*file, 6, {66});
        SetIndex(*file, 8, {8});
        SetBookmark(*file);
        const std::string place = away ? m_Path + ".away" : m_Path;
        std::filesystem::rename(m_Path, place);
        g_nSyncError = EIO;
        EXPECT_EQ(file->Flush(), QV_S_OK);
        g_nSyncError = -1;
        EXPECT_EQ(FilesInFolder(), 1);
        std::filesystem::rename(place, m_Path);
        EXPECT_EQ(before, Read());
        file.reset();
        file = Open();
        EXPECT_EQ(kAllTypes.size() + (away ? 2 : 1), Records().size());
        EXPECT_EQ(WithNewBookmark(kAllTypes)[0], Records()[0]);
        EXPECT_EQ(std::vector<int>{66}, IndexOf(*file, 6));
        EXPECT_EQ(std::vector<int>{8}, IndexOf(*file, 8));
    }
}

TEST_F(ReadingDataDamageTest, EveryAllocationFailingLosesAndDoublesNoRecord) {
    for (int run = 4; run < 324 && !HasFailure(); ++run) {
        g_bFailsOnce = run % 2 != 0;
        Write(FileOf(run & 2 ? WithDeadSpace() : kAllTypes));
        {
            CQvpFile file;
            g_nAllocationsLeft = run / 4;
            if (file.Open(m_Path.c_str(), 0) == QV_S_OK) {
                if (run & 2) // what comes first makes the file id's lists
                    SetBookmark(file);
                SetIndex(file, 1, std::vector<int>(500, 7));
                SetBookmark(file);
                ReadAll(file);
                file.Flush();
                g_nAllocationsLeft = -1;
                SetIndex(file, 6, {6});
            }
            g_nAllocationsLeft = -1;
        }
        const auto records = Records();
        EXPECT_EQ(std::count_if(records.begin(), records.end(),
                                [](const Record& record) { return record.type == 1; }),
                  1);
        EXPECT_TRUE(records[0] == kAllTypes[0] || records[0] == WithNewBookmark(kAllTypes)[0]);
        const auto index = IndexOf(*Open(), 1);
        EXPECT_TRUE(index == std::vector<int>({10, 20, 30}) ||
                    (index.size() >= 3 && index == std::vector<int>(index.size(), 7)))
            << run << ": " << index.size();
    }
}

TEST_F(ReadingDataDamageTest, AppendThatCannotBeCutOffLaterFlushLeavesNoTornEnd) {
    Write(FileOf(kAllTypes));
    auto file = Open();
    SetIndex(*file, 8, {8});
    SetIndex(*file, 7, {7});
    LimitFileSize(FileOf(kAllTypes).size() + 100);
    g_bCutFails = true;
    EXPECT_EQ(file->Flush(), QV_S_OK);
    g_bCutFails = false;
    EXPECT_EQ(FileOf(kAllTypes).size() + 100, Read().size()) << "nothing may follow a torn record";
    SetIndex(*file, 9, {9});
    EXPECT_EQ(file->Flush(), QV_S_OK);
    EXPECT_EQ(FileOf(Records()), Read());
    file = Open();
    for (const int id : {7, 8, 9})
        EXPECT_EQ(std::vector<int>{id}, IndexOf(*file, static_cast<unsigned int>(id)));
}

TEST_F(ReadingDataDamageTest, CompactionThatCannotBeDoneUpdatesAndAppendsInPlace) {
    const std::vector<Record> records = WithNewBookmark(WithDeadSpace());
    const std::string torn = "torn";
    for (const bool full : {false, true}) {
        for (const std::string& end : {std::string(), torn}) {
            Write(FileOf(WithDeadSpace()) + end);
            auto file = Open();
            SetBookmark(*file);
            SetIndex(*file, 8, {8});
            std::filesystem::permissions(m_Path, std::filesystem::perms{0666});
            std::filesystem::permissions(m_Folder, std::filesystem::perms{full ? 0777u : 0555u});
            const bool root = !full && seteuid(65534) == 0; // whom no permission holds back
            g_nSyncError = full ? ENOSPC : -1;
            for (int flush = 0; flush < 2; ++flush) {
                EXPECT_EQ(file->Flush(), QV_S_OK);
                EXPECT_EQ(FileOf(records) + end,
                          Read().substr(0, FileOf(records).size() + end.size()));
                EXPECT_EQ(FileOf(records).size() + (end.empty() ? 813 : end.size()), Read().size());
            }
            g_nSyncError = -1;
            EXPECT_TRUE(!root || seteuid(0) == 0);
            std::filesystem::permissions(m_Folder, std::filesystem::perms{0755});
            EXPECT_EQ(FilesInFolder(), 1);
            SetIndex(*file, 9, {9});
            file.reset(); // a better day
            EXPECT_EQ(kAllTypes.size() + 1, Records().size());
            EXPECT_EQ(FileOf(Records()), Read());
            EXPECT_EQ(std::vector<int>{8}, IndexOf(*Open(), 8));
        }
    }
}

TEST_F(ReadingDataDamageTest, FileCutBetweenRecordsWhileTheDiskIsFullLosesNone) {
    const Record one = {3, 1, Le32(1) + Le32(1)}, other = {3, 2, Le32(1) + Le32(2)};
    Write(FileOf({one, other}));
    auto file = Open();
    IndexOf(*file, 2);
    SetIndex(*file, 5, {5});
    std::filesystem::resize_file(m_Path, FileOf({one}).size());
    g_nSyncError = ENOSPC;
    EXPECT_EQ(file->Flush(), QV_S_OK);
    g_nSyncError = -1;
    EXPECT_EQ(FileOf({one}), Read()) << "what is appended would stand where the other one stood";
    file.reset(); // there is room again
    file = Open();
    for (const int id : {1, 2, 5})
        EXPECT_EQ(std::vector<int>{id}, IndexOf(*file, static_cast<unsigned int>(id)));
}

TEST_F(ReadingDataDamageTest, FlushOfChangesSyncsThemAndOfNoneNothing) {
    Write(FileOf(kAllTypes));
    auto file = Open();
    ReadAll(*file);
    for (const bool changed : {false, true, false}) {
        if (changed)
            SetBookmark(*file);
        g_nSyncs = 0;
        EXPECT_EQ(file->Flush(), QV_S_OK);
        EXPECT_EQ(changed ? 1 : 0, g_nSyncs);
    }
    file.reset();
    EXPECT_EQ(g_nSyncs, 0);
}

// What a process leaves that dies while it compacts goes at the next compaction, unless it is in
// use or someone else's by now.
TEST_F(ReadingDataDamageTest, ProcessKilledWhileCompactingLeavesNothingThatBlocksOrPilesUp) {
    Write(FileOf(WithDeadSpace()));
    const pid_t child = fork();
    if (child == 0) {
        g_bDiesSyncing = true;
        Open()->Flush();
        _exit(1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_EQ(status, 0);
    EXPECT_EQ(FileOf(WithDeadSpace()), Read());
    ASSERT_EQ(FilesInFolder(), 2);
    std::filesystem::path left;
    for (const auto& entry : std::filesystem::directory_iterator(m_Folder))
        left = entry.path() == m_Path ? left : entry.path();
    const auto compact = [this] {
        Write(FileOf(WithDeadSpace()));
        EXPECT_EQ(Open()->Flush(), QV_S_OK);
        EXPECT_EQ(kAllTypes.size() - 1, Records().size());
    };

    const int other = open(left.c_str(), O_RDWR);
    EXPECT_EQ(flock(other, LOCK_EX), 0);
    compact();
    EXPECT_TRUE(std::filesystem::exists(left)) << "another process is writing it";
    close(other);
    compact();
    EXPECT_EQ(FilesInFolder(), 1);
    std::ofstream(left) << "my own notes";
    compact();
    EXPECT_TRUE(std::filesystem::remove(left));
    std::filesystem::create_directory(left);
    compact();
    EXPECT_TRUE(std::filesystem::is_directory(left));
    std::filesystem::remove(left);
    std::filesystem::create_symlink(m_Path, left);
    compact();
    EXPECT_TRUE(std::filesystem::is_symlink(left));
}

// Each keeps lists of two file ids, in a loop; whoever writes last wins, and no file is broken.
TEST_F(ReadingDataDamageTest, TwoProcessesRewritingOneFileLeaveAFileThatOpensWhole) {
    Open(1);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    const pid_t child = fork();
    std::mt19937 random(child == 0 ? 1 : 2);
    while (std::chrono::steady_clock::now() < end) {
        CQvpFile file;
        if (file.Open(m_Path.c_str(), 1) != QV_S_OK)
            continue; // cut off while it was read
        for (int flush = 0; flush < 3; ++flush) {
            SetIndex(file, 1 + random() % 2, std::vector<int>(random() % 700, child == 0));
            SetBy<CBookTagProxyImpl>(file, 1 + random() % 2,
                                     std::vector<std::string>(random() % 30, "tag"));
            SetBookmark(file);
            file.Flush();
        }
    }
    if (child == 0)
        _exit(0);
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(FileOf(Records()), Read());
    EXPECT_EQ(FilesInFolder(), 1);
    const auto file = Open();
    ReadAll(*file);
    EXPECT_EQ(std::pair(QV_S_OK, Note(kNewBlock, NewOffset, 0, "")),
              GetBy<CBookInfoProxyImpl>(*file, 1));
}

} // namespace
