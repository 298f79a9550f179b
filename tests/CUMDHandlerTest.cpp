#include "umd/CUMDHandler.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <malloc.h>
#include <zlib.h>

#include "base/CMemoryStream.h"
#include "base/LittleEndian.h"
#include "umd/UMDFormat.h"

using namespace QvFormat;
using namespace std::string_literals;

namespace {

// --- books, byte by byte ------------------------------------------------------------------------

std::string Int(std::int64_t value) {
    std::string bytes(4, '\0');
    StoreLE32(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<std::uint32_t>(value));
    return bytes;
}

// Nodes state their real length unless told to lie. The flag byte means nothing.
std::string Function(int type, const std::string& content = "", int length = -1) {
    const auto stated = static_cast<char>(length < 0 ? content.size() + 5 : length);
    return "#" + Int(type).substr(0, 2) + 'Z' + stated + content;
}

std::string Data(int identifier, const std::string& content, int length = -1) {
    const auto stated = length == -1 ? static_cast<int>(content.size()) + 9 : length;
    return "$" + Int(identifier) + Int(stated) + content;
}

std::string Deflated(const std::string& text) {
    uLongf size = compressBound(text.size());
    std::string stream(size, '\0');
    compress2(reinterpret_cast<Bytef*>(stream.data()), &size,
              reinterpret_cast<const Bytef*>(text.data()), text.size(), 1);
    return stream.substr(0, size);
}

const std::string kTable = Function(0x83) + Data(1, Int(0) + Int(-6) + "odd");
const std::string kTitles = Function(0x84, Int(2));
const std::string kLength8 = Function(0x0B, Int(8));
const std::string kRun = Function(0x0A) + Data(7, "xy");

// --- a stream that fails when told to, and a handler that shows what it has ---------------------

struct Faults {
    int first = INT_MAX; // the operation to fail first, counted from 0
    int count = INT_MAX; // how many fail from there on
    int operations = 0;
};

class TestStream : public CMemoryStream {
public:
    TestStream(const std::string& file, Faults* faults)
        : CMemoryStream(static_cast<unsigned char*>(
                            std::memcpy(::operator new(file.size()), file.data(), file.size())),
                        static_cast<long>(file.size())),
          m_faults(faults) {}

    // A file that cannot be read reports it as 0 bytes, other streams as a failure.
    QVRESULT Read(unsigned char* buffer, int count, int* read) override {
        EXPECT_LE(count, std::max<long>(m_nLength + 300, UMDFormat::kSmallClaim))
            << "memory was taken for what the file cannot hold";
        if (!Fails())
            return CMemoryStream::Read(buffer, count, read);
        return m_faults->count == 1 ? QV_S_OK : QV_E_FAIL;
    }
    QVRESULT Seek(long to, SeekMode mode, long*) override {
        return Fails() ? QV_E_FAIL : CMemoryStream::Seek(to, mode, nullptr);
    }
    QVRESULT Tell(long* position) override {
        return Fails() ? QV_E_FAIL : CMemoryStream::Tell(position);
    }
    QVRESULT GetLength(long* length) override {
        return Fails() ? QV_E_FAIL : CMemoryStream::GetLength(length);
    }
    QVRESULT GetCanRead(int* can) override {
        *can = !Fails();
        return QV_S_OK;
    }
    QVRESULT GetCanSeek(int* can) override {
        *can = 1;
        return Fails() ? QV_E_FAIL : QV_S_OK;
    }

private:
    bool Fails() {
        const int operation = m_faults->operations++ - m_faults->first;
        return operation >= 0 && operation < m_faults->count;
    }
    Faults* m_faults;
};

Faults noFaults;

class Handler : public CUMDHandler {
public:
    explicit Handler(const std::string& file, Faults* faults = &noFaults)
        : CUMDHandler(new TestStream(file, faults)) {}

    using CUMDHandler::m_bReady;
    using CUMDHandler::m_pChunks;

    // Each followed by a stroke, "-" for one that is absent.
    std::u16string Strings() {
        std::u16string strings;
        for (auto get :
             {&Handler::GetTitle, &Handler::GetAuthor, &Handler::GetYear, &Handler::GetMonth,
              &Handler::GetDay, &Handler::GetGenre, &Handler::GetPublisher, &Handler::GetVendor}) {
            const MallocPtr<unsigned short> units((this->*get)());
            strings += units ? reinterpret_cast<char16_t*>(units.get()) : u"-";
            strings += u'|';
        }
        return strings;
    }

    // A chunk's text, "-" when it is lost.
    std::string Chunk(int index) {
        int length = -7;
        const MallocPtr<unsigned char> text(GetChunkContent(index, &length));
        EXPECT_EQ(text == nullptr, length == -7) << "the length must change with success only";
        return text ? std::string(text.get(), text.get() + length) : "-";
    }

    // Each chapter as "offset:title", with "?" for a title never read; "-" without a table.
    std::string Chapters() {
        std::string chapters = m_pChapters ? "" : " -";
        for (int i = 0; i < GetChapterCount(); ++i) {
            const MallocPtr<unsigned short> title(GetChapterTitle(i));
            chapters += ' ' + std::to_string(GetChapterOffset(i)) + ':' + (title ? "" : "?");
            for (auto* unit = title.get(); unit && *unit != 0; ++unit)
                chapters += static_cast<char>(*unit);
        }
        return chapters;
    }

    // Chunks, content length, title and chapters; for a failed book what the queries answer.
    std::string Summary() {
        const std::u16string strings = Strings();
        const std::string title(strings.begin(), std::find(strings.begin(), strings.end(), u'|'));
        return (m_bReady ? "" : "failed ") + std::to_string(GetChunkCount()) + ' ' +
               std::to_string(GetContentLength()) + ' ' + title + (m_bReady ? Chapters() : "");
    }
};

// --- what a sequence of nodes gives -------------------------------------------------------------

TEST(CUMDHandler, NodesOfEachKindAreTakenSkippedEndTheParseOrFailIt) {
    std::string many = kRun;
    for (int i = 0; i < 201; ++i)
        many += Data(i, "xy");
    const std::string more = Function(0x83) + Data(1, std::string(20, '\0'));
    const std::string none = Function(0x83) + Data(1, "odd");
    const std::string own = Function(0x84, "\2A\0\0"s);
    const std::string a = Data(2, "\2A\0\0"s), b = Data(2, "\2B\0\4C\0D\0more"s);
    const struct {
        const char* name;
        std::string nodes;
        const char* summary;
    } cases[] = {
        {"unknown types", Function(0x101, "\2") + Function(0xFF83, "1234") + kLength8, "0 8 - -"},
        {"other book", kLength8 + kRun + Function(1, "\2"), "failed 0 0 -"},
        {"two lengths", kLength8 + Function(0x0B, Int(-9)), "0 -9 - -"},
        {"length of 5 bytes", Function(0x0B, "\1\0\0\0\0"s), "failed 0 0 -"},
        {"titles A and B", Function(2, "A\0"s) + Function(2, "B\0"s), "0 0 B -"},
        {"empty title", Function(2, "A\0"s) + Function(2) + kLength8, "0 8 A -"},
        {"title of 3 bytes", Function(2, "A\0B"s), "0 0 AB -"},
        {"title with a zero unit", Function(2, "A\0\0\0B\0"s), "0 0 A -"},
        {"title of a failed book", Function(2, "A\0"s) + Function(1, "\2"), "failed 0 0 A"},
        {"two runs", kRun + Data(8, "z") + Function(0xF1) + Data(9, "z") + kLength8, "3 8 - -"},
        {"202 chunks", many + kLength8, "202 8 - -"},
        {"function node of 4 bytes", kRun + Function(1, "", 4) + kLength8, "1 0 - -"},
        {"data node of 8 bytes", kRun + Data(1, "", 8) + kLength8, "1 0 - -"},
        {"data node of least length", kRun + Data(1, "", INT_MIN) + kLength8, "1 0 - -"},
        {"data node past 2^31", kRun + Data(1, "", INT_MAX) + kLength8, "2 0 - -"},
        {"titles and a chunk", kTable + kTitles + b + Data(3, "xy") + kLength8, "1 8 - 0:B -6:CD"},
        {"titles in the 0x84 node", kTable + own + kLength8, "0 8 - 0:A -6:"},
        {"titles before the table", kTitles + a + kTable, "failed 0 0 -"},
        {"titles of another identifier", kTable + Function(0x84, Int(3)) + a, "failed 0 0 -"},
        {"identifier of 1 byte", kTable + Function(0x84, "\2") + a, "0 0 - 0:A -6:"},
        {"identifier of 0 bytes", kTable + Function(0x84) + Data(0, "\0\0"s), "failed 0 0 -"},
        {"too few titles", kTable + kTitles + Data(2, "\2A\0"s), "failed 0 0 -"},
        {"title past its block", kTable + kTitles + Data(2, "\0\3A\0"s), "failed 0 0 -"},
        {"titles cut off", kTable + kTitles + Data(2, "\4A\0"s, 99), "0 0 - 0:A -6:"},
        {"titles of 2 GB", more + kTitles + Data(2, "\xFF", INT_MAX), "0 0 - 0: 0: 0: 0: 0:"},
        {"titles that lie", kTable + kTitles + Data(2, "", 8), "0 0 - 0:? -6:?"},
        {"no chapters", none + kTitles + Data(2, "\xFF") + Data(3, "xy"), "1 0 -"},
        {"no chapters nor titles", none + kTitles + Data(2, ""), "failed 0 0 -"},
        {"empty table", Function(0x83) + Data(1, ""), "failed 0 0 -"},
        {"two tables", kTable + kTable, "failed 0 0 -"},
        {"table of 2 GB", Function(0x83) + Data(1, Int(0), INT_MAX), "failed 0 0 -"},
        {"table that leads back", kLength8 + Function(0x83) + Data(1, "", -5), "0 8 - -"},
    };
    // The signature is ignored; as a node it would fail the parse that comes back to it.
    for (const auto& c : cases)
        EXPECT_EQ(Handler("#\x0B\0Z"s + c.nodes).Summary(), c.summary) << c.name;
}

// --- chunks -------------------------------------------------------------------------------------

std::string Text(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size && size < 1000000; ++i) // longer ones are zeros, a bomb
        text[i] = static_cast<char>(i * i >> 7);
    return text;
}

TEST(CUMDHandler, ChunkOfAnySizeComesInTheSmallestBufferOfWholeSteps) {
    const std::size_t sizes[][2] = {{0, 33792},     {33792, 33792}, {33793, 44032},
                                    {44032, 44032}, {44033, 54272}, {100000000, 100000768}};
    for (const auto& [size, buffer] : sizes) {
        Handler book("any4" + Function(0x0A) + Data(1, Deflated(Text(size)) + "rest"));
        EXPECT_TRUE(book.Chunk(0) == Text(size)) << size;
        int length = 0;
        const MallocPtr<unsigned char> text(book.GetChunkContent(0, &length));
        EXPECT_EQ(malloc_usable_size(text.get()) / 8192, buffer / 8192) << size;
    }
}

TEST(CUMDHandler, ChunkThatIsNoWholeStreamIsLost) {
    const std::string small = Deflated(Text(100)), large = Deflated(Text(50000));
    for (const std::string& node :
         {Data(1, ""), Data(1, "\x78\xBB\0\0\0\1"s), // asks for a preset dictionary
          Data(1, small.substr(0, small.size() - 1)), Data(1, large.substr(0, large.size() - 1)),
          Data(1, large.substr(0, large.size() - 1) + '?'), Data(1, small, INT_MAX),
          Data(1, small) + Function(1, "\2")}) // a failed book
        for (int index : {-1, 0, 1})
            EXPECT_EQ(Handler("any4" + Function(0x0A) + node).Chunk(index), "-") << node.size();
}

// --- the example of the format's document, whole and damaged -----------------------------------

// Lines of the listing: offset, two spaces, bytes in hex, two spaces, words.
std::string Example() {
    std::ifstream document(TEST_SOURCE_DIR "/docs/umd-format.md");
    std::string file, line;
    while (std::getline(document, line)) {
        if (line.find_first_not_of("0123456789abcdef") != 4 || line.compare(4, 2, "  ") != 0)
            continue;
        EXPECT_EQ(std::stoul(line, nullptr, 16), file.size()) << line;
        for (std::size_t at = 6; at < line.size() && line[at] != ' '; at += 3)
            file += static_cast<char>(std::stoi(line.substr(at, 2), nullptr, 16));
    }
    return file;
}

TEST(CUMDHandler, ExampleOfTheDocumentParsesAsTheDocumentSays) {
    Handler book(Example());
    EXPECT_EQ(book.Strings(), u"茶經|陸羽|780|3|21|茶|陸|A|");
    EXPECT_EQ(book.GetContentLength(), 24);
    ASSERT_EQ(book.GetChunkCount(), 3);
    const auto* text = reinterpret_cast<const char*>(u"茶者，南方之嘉木也。\u2029其");
    EXPECT_EQ(book.Chunk(0) + book.Chunk(1) + book.Chunk(2), std::string(text, 24));
    EXPECT_EQ(book.Chapters(), " 0:\0 22:\x4B\x90"s); // the titles' low bytes
}

TEST(CUMDHandler, ChapterThatIsNotThereHasNeitherTitleNorOffset) {
    const std::string file = "any4" + kTable + kTitles + Data(2, "\2A\0\0"s);
    Handler book(file), failed(file + Function(1, "\2"));
    EXPECT_EQ(failed.GetChapterCount(), 0);
    for (const auto& [handler, index] : {std::pair(&book, -1), {&book, 2}, {&failed, 0}}) {
        EXPECT_EQ(handler->GetChapterTitle(index), nullptr) << index;
        EXPECT_EQ(handler->GetChapterOffset(index), -1) << index;
    }
}

TEST(CUMDHandler, BookCutOffAnywhereKeepsAllThatStandsBeforeTheCut) {
    const std::string file = Example();
    Handler whole(file);
    for (std::size_t size = 0; size < file.size(); ++size) {
        SCOPED_TRACE(size);
        Handler cut(file.substr(0, size));
        const bool inFact = size == 0x09 || (size >= 0x51 && size < 0x55);
        EXPECT_EQ(cut.m_bReady, !inFact && (size < 0x67 || size >= 0x6f)); // the chapter table
        EXPECT_TRUE(cut.Strings() == whole.Strings() || size < 0x4c);
        EXPECT_EQ(cut.GetChunkCount(), (size >= 0x92) + (size >= 0xb0) + (size >= 0xd9));
        for (int i = 0; i < cut.GetChunkCount(); ++i) {
            const auto& chunk = whole.m_pChunks.get()[i];
            const bool lost = static_cast<int>(size) < chunk.offset + chunk.length;
            EXPECT_EQ(cut.Chunk(i), lost ? "-" : whole.Chunk(i));
        }
    }
}

// Strings or none, and of the chunks nothing but texts of the whole book.
void ExpectNothingWrong(Handler& book, Handler& whole) {
    EXPECT_GE(book.Strings().size(), 16u);
    EXPECT_LE(book.GetChunkCount(), book.m_bReady ? 4 : 0);
    for (int i = 0; i < book.GetChunkCount(); ++i) {
        const std::string text = book.Chunk(i);
        EXPECT_TRUE(text == "-" || text == whole.Chunk(0) || text == whole.Chunk(1) ||
                    text == whole.Chunk(2));
    }
}

TEST(CUMDHandler, BookWithAnyBitFlippedAnswersAndGivesNoWrongText) {
    const std::string file = Example();
    Handler whole(file);
    for (std::size_t bit = 0; bit < 8 * file.size(); ++bit) {
        SCOPED_TRACE(bit);
        std::string flipped = file;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ 1 << bit % 8);
        Handler book(flipped);
        ExpectNothingWrong(book, whole);
    }
}

TEST(CUMDHandler, StreamThatFailsAtAnyOperationGivesNothingWrong) {
    EXPECT_EQ(CUMDHandler(nullptr).GetChunkCount(), 0);
    Handler whole(Example());
    for (int count : {1, INT_MAX}) {
        Faults faults{0, count};
        for (; faults.operations >= faults.first; ++faults.first) {
            SCOPED_TRACE(faults.first);
            faults.operations = 0;
            Handler book(Example(), &faults);
            // Without its abilities, the seek to the first node or the length there is no book.
            EXPECT_FALSE(book.m_bReady && faults.first < 4);
            EXPECT_TRUE(book.Summary() == whole.Summary() || faults.operations > faults.first);
            ExpectNothingWrong(book, whole);
        }
        EXPECT_GT(faults.first, 60);
    }
}

} // namespace
