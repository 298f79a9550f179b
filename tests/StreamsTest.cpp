#include <climits>
#include <cstdio>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "RenderFixture.h"
#include "base/CFileStream.h"
#include "base/CMemoryStream.h"

using namespace QvFormat;

namespace {

using StreamPtr = std::unique_ptr<IQVSequentialStream>;

StreamPtr OpenFile(const char* path, int type) {
    return std::make_unique<CFileStream>(reinterpret_cast<const unsigned char*>(path),
                                         static_cast<FileOpenType>(type));
}

std::string Read(const StreamPtr& stream, int count) {
    unsigned char bytes[32];
    int read = -7;
    EXPECT_EQ(stream->Read(bytes, count, &read), QV_S_OK);
    return std::string(bytes, bytes + read);
}

int Write(const StreamPtr& stream, std::string bytes) {
    int written = -7;
    auto* buffer = reinterpret_cast<unsigned char*>(bytes.data());
    EXPECT_EQ(stream->Write(buffer, static_cast<int>(bytes.size()), &written), QV_S_OK);
    return written;
}

// A file of ten bytes.
struct FileStreamTest : testing::Test {
    const std::string path = testing::TempDir() + "stream";

    FileStreamTest() { Write(OpenFile(path.c_str(), FileOpenCreate), "0123456789"); }
    ~FileStreamTest() override { std::remove(path.c_str()); }
};

// What both kinds of stream share, over ten bytes that can be read and written.
struct StreamTest : FileStreamTest, testing::WithParamInterface<bool> {
    const bool isFile = GetParam();
    const StreamPtr stream{
        isFile ? OpenFile(path.c_str(), FileOpenReadWrite).release()
               : fixture::NewStream({'0', '1', '2', '3', '4', '5', '6', '7', '8', '9'})};
    long position = -7;
};

INSTANTIATE_TEST_SUITE_P(BothKinds, StreamTest, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "File" : "Memory"; });

TEST_P(StreamTest, ReadsAndWritesInTurnKeepOnePositionUpToTheEnd) {
    int value = 7;
    EXPECT_EQ(Read(stream, 2), "01");
    EXPECT_EQ(Write(stream, "ab"), 2);
    EXPECT_EQ(Read(stream, 1), "4");
    EXPECT_EQ(stream->WriteByte(0xFC), QV_S_OK);
    EXPECT_EQ(stream->GetLength(&position), QV_S_OK);
    EXPECT_EQ(position, 10);
    EXPECT_EQ(Read(stream, 9), "6789");
    EXPECT_EQ(Read(stream, 9), "");
    EXPECT_EQ(stream->ReadByte(&value), QV_E_FAIL);
    EXPECT_EQ(value, isFile ? 7 : -1);
    stream->Seek(-2, SeekFromCurrent, nullptr);
    EXPECT_EQ(Write(stream, "cde"), isFile ? 3 : 2);
    EXPECT_EQ(stream->WriteByte('f'), isFile ? QV_S_OK : QV_E_FAIL);
    stream->Seek(5, SeekFromBegin, nullptr);
    EXPECT_EQ(stream->ReadByte(&value), QV_S_OK);
    EXPECT_EQ(value, 0xFC);
    stream->Seek(0, SeekFromBegin, nullptr);
    EXPECT_EQ(Read(stream, 20), isFile ? "01ab4\37467cdef" : "01ab4\37467cd");
}

TEST_P(StreamTest, SeekFromPosition4GoesWhereTheModeSays) {
    const struct {
        long offset;
        int mode;
        long inFile, inMemory;
    } rows[] = {{3, 0, 3, 3},        {-3, 0, 4, 0},        {12, 0, 12, 10}, {3, 1, 7, 7},
                {-5, 1, 4, 0},       {LONG_MIN, 1, 4, 0},  {-3, 2, 7, 7},   {5, 2, 15, 10},
                {LONG_MIN, 2, 4, 0}, {LONG_MAX, 1, -1, 10}};
    for (const auto& row : rows) {
        if (isFile && row.inFile < 0) // the file system decides
            continue;
        long told = -7;
        stream->Seek(4, SeekFromBegin, nullptr);
        EXPECT_EQ(stream->Seek(row.offset, static_cast<SeekMode>(row.mode), &position), QV_S_OK);
        EXPECT_EQ(position, isFile ? row.inFile : row.inMemory) << row.offset << ' ' << row.mode;
        EXPECT_EQ(stream->Tell(&told), QV_S_OK);
        EXPECT_EQ(told, position);
    }
}

TEST_P(StreamTest, BadArgumentsAreRefusedAndOptionalNullsAccepted) {
    unsigned char byte = 'x';
    int count = 7;
    for (const QVRESULT result :
         {stream->Read(&byte, 0, &count), stream->Read(&byte, INT_MIN, &count),
          stream->Write(&byte, 0, &count), stream->Write(&byte, INT_MIN, &count),
          stream->Read(nullptr, 1, &count), stream->Write(nullptr, 1, &count),
          stream->ReadByte(nullptr), stream->Seek(1, static_cast<SeekMode>(3), &position),
          stream->Seek(1, static_cast<SeekMode>(-1), &position)})
        EXPECT_EQ(result, QV_E_INVALIDARG);
    EXPECT_TRUE(count == 7 && position == -7);
    EXPECT_EQ(stream->GetCanRead(nullptr), isFile ? QV_E_INVALIDARG : QV_S_OK);
    EXPECT_EQ(stream->Tell(nullptr) | stream->GetLength(nullptr), QV_S_OK);
    EXPECT_EQ(stream->Read(&byte, 1, nullptr) | stream->Write(&byte, 1, nullptr), QV_S_OK);
    EXPECT_EQ(Read(stream, 1), "2");
    EXPECT_EQ(CMemoryStream(fixture::Copy({'x'}), -5).WriteByte(1), QV_E_FAIL);
}

void ExpectNotOpen(const StreamPtr& stream, QVRESULT flushed) {
    unsigned char byte = 7;
    int count = 7;
    long position = 7;
    for (const QVRESULT result :
         {stream->Read(&byte, 1, &count), stream->ReadByte(&count), stream->GetCanRead(&count),
          stream->GetCanSeek(&count), stream->GetCanWrite(&count), stream->GetLength(&position),
          stream->Tell(&position), stream->Close(), stream->Write(&byte, 1, &count),
          stream->WriteByte(1), stream->Seek(0, SeekFromEnd, &position)})
        EXPECT_EQ(result, QV_E_NOTREADY);
    EXPECT_EQ(stream->Flush(), flushed);
    EXPECT_TRUE(byte == 7 && count == 7 && position == 7);
}

TEST_P(StreamTest, StreamThatIsClosedOrNeverOpenedIsNotReady) {
    EXPECT_EQ(stream->Close(), QV_S_OK);
    ExpectNotOpen(stream, isFile ? QV_E_NOTREADY : QV_E_NOTIMPL);
    for (const int type : {-1, 3})
        ExpectNotOpen(OpenFile(path.c_str(), type), QV_E_NOTREADY);
    ExpectNotOpen(OpenFile("/nowhere/at all", FileOpenReadWrite), QV_E_NOTREADY);
    ExpectNotOpen(OpenFile(nullptr, FileOpenRead), QV_E_NOTREADY);
    ExpectNotOpen(std::make_unique<CMemoryStream>(nullptr, 5), QV_E_NOTIMPL);
}

TEST_F(FileStreamTest, FileThatGrowsIsReadOnFromWhereItEnded) {
    const StreamPtr stream = OpenFile(path.c_str(), FileOpenRead);
    EXPECT_EQ(Read(stream, 20), "0123456789");
    Write(OpenFile(path.c_str(), FileOpenCreate), "0123456789abc");
    long length = -7;
    stream->GetLength(&length);
    EXPECT_EQ(length, 13);
    stream->Seek(10, SeekFromBegin, nullptr);
    EXPECT_EQ(Read(stream, 20), "abc");
}

// Short ways forward are read, all others sought.
TEST_F(FileStreamTest, EverySeekOfAReaderArrives) {
    std::string content(40000, ' ');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i % 251);
    Write(OpenFile(path.c_str(), FileOpenCreate), content);
    const StreamPtr stream = OpenFile(path.c_str(), FileOpenRead);
    for (const long offset :
         {4L, 5L, 700L, 8893L, 17086L, 3L, 30000L, 39999L, 40000L, 40010L, 39990L, 40100L, 0L}) {
        long position = -7;
        EXPECT_EQ(stream->Seek(offset, SeekFromBegin, &position), QV_S_OK);
        EXPECT_EQ(position, offset);
        EXPECT_EQ(Read(stream, 2), content.substr(std::min<std::size_t>(offset, 40000), 2));
    }
}

TEST_F(FileStreamTest, OpenTypeDecidesWhatCanBeDone) {
    const struct {
        int type, canRead, canWrite, flushed;
        const char *read, *left;
    } rows[] = {{FileOpenRead, 1, 0, 1, "01", "0123456789"},
                {FileOpenReadWrite, 1, 1, 0, "01", "01ab456789"},
                {FileOpenCreate, 0, 1, 0, "", "ab"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        StreamPtr stream = OpenFile(path.c_str(), row.type);
        int canRead = 7, canSeek = 7, canWrite = 7;
        EXPECT_EQ(stream->GetCanRead(&canRead) | stream->GetCanSeek(&canSeek), QV_S_OK);
        EXPECT_EQ(stream->GetCanWrite(&canWrite), QV_S_OK);
        EXPECT_TRUE(canRead == row.canRead && canSeek == 1 && canWrite == row.canWrite);
        EXPECT_EQ(Read(stream, 2), row.read);
        EXPECT_EQ(Write(stream, "a"), row.canWrite);
        EXPECT_EQ(stream->Flush(), row.flushed);
        EXPECT_EQ(stream->WriteByte('b'), row.canWrite ? QV_S_OK : QV_E_FAIL);
        stream.reset();
        EXPECT_EQ(Read(OpenFile(path.c_str(), FileOpenRead), 20), row.left);
    }
    const StreamPtr full = OpenFile("/dev/full", FileOpenCreate);
    EXPECT_EQ(full->WriteByte('a'), QV_S_OK);
    EXPECT_EQ(full->Flush(), 1);
}

} // namespace
