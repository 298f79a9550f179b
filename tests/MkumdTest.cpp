// The book writer: what it makes is what the parser reads, and what the samples say.
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "base/CMemoryStream.h"
#include "base/Handles.h"
#include "base/LittleEndian.h"
#include "tools/UmdBookWriter.h"
#include "umd/CUMDHandler.h"

namespace {

using umdbook::Book;
using umdbook::Bytes;

QvFormat::IQVSequentialStream* StreamOf(const Bytes& bytes) {
    auto* buffer = static_cast<unsigned char*>(::operator new(bytes.size()));
    std::memcpy(buffer, bytes.data(), bytes.size());
    return new QvFormat::CMemoryStream(buffer, static_cast<long>(bytes.size()));
}

class Reader : public QvFormat::CUMDHandler {
public:
    explicit Reader(const Bytes& book) : CUMDHandler(StreamOf(book)) {}

    static std::u16string Units(const unsigned char* bytes, std::size_t size) {
        std::u16string text;
        for (std::size_t i = 0; i + 1 < size; i += 2)
            text.push_back(static_cast<char16_t>(QvFormat::LoadLE16(bytes + i)));
        return text;
    }

    static std::u16string Owned(unsigned short* string) {
        const QvFormat::MallocPtr<unsigned short> owner(string);
        std::u16string text;
        for (const unsigned short* unit = string; unit && *unit; ++unit)
            text.push_back(static_cast<char16_t>(*unit));
        return text;
    }

    std::u16string Text() {
        std::u16string text;
        for (int i = 0; i < GetChunkCount(); ++i) {
            int size = 0;
            const QvFormat::MallocPtr<unsigned char> chunk(GetChunkContent(i, &size));
            text += Units(chunk.get(), static_cast<std::size_t>(size));
        }
        return text;
    }

    int ChapterCount() const { return m_nChapterCount; }
    std::size_t ChapterOffset(int i) const {
        return static_cast<std::size_t>(m_pChapters[static_cast<std::size_t>(i)].offset);
    }
    std::u16string ChapterTitle(int i) const {
        const unsigned char* title = m_pChapters[static_cast<std::size_t>(i)].title.get();
        std::size_t size = 0;
        while (title[size] != 0 || title[size + 1] != 0)
            size += 2;
        return Units(title, size);
    }
};

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// A chunk's data node; the deflated bytes are zlib's business, not the writer's.
Bytes ChunkNode(unsigned char identifier, const Bytes& text) {
    uLongf size = 64;
    Bytes stream(size);
    compress(stream.data(), &size, text.data(), static_cast<uLong>(text.size()));
    stream.resize(size);
    return Bytes{'$', identifier, 0x10, 0, 0, static_cast<unsigned char>(size + 9), 0, 0, 0} +
           stream;
}

TEST(WriteBookTest, TinyBookWithAllNodes_HasTheFormatsBytes) {
    const Book book{u"書", u"", u"", u"", u"", u"", u"", u"V", {{u"A", u"ABC\u2029"}}, {7, 8}};
    umdbook::Options options;
    options.chunkBytes = 3;                                          // rounded down to one unit
    const Bytes start = {0,   0,    0,    0,                         // signature
                         '#', 0x01, 0,    0, 8, 1,    0x5A, 0xC3,    // text book
                         '#', 0x02, 0,    0, 7, 0xF8, 0x66,          // title
                         '#', 0x09, 0,    0, 7, 'V',  0,             // vendor
                         '#', 0x0B, 0,    0, 9, 8,    0,    0,    0, // content length
                         '#', 0x83, 0,    1, 9, 0x01, 0x10, 0,    0, // chapter offsets
                         '$', 0x01, 0x10, 0, 0, 13,   0,    0,    0, 0, 0,   0, 0, //
                         '#', 0x84, 0,    1, 9, 0x02, 0x10, 0,    0,               // chapter titles
                         '$', 0x02, 0x10, 0, 0, 12,   0,    0,    0, 2, 'A', 0};
    const Bytes separator = Bytes{'#', 0xF1, 0, 0, 21} + Bytes(16);
    const Bytes chunksFollow = {'#', 0x0A, 0, 0, 9, 2, 0, 0, 0};
    const Bytes end = {'#',  0x81, 0,    1, 9,    0x07, 0x10, 0,    0,          // chunk list
                       '$',  0x07, 0x10, 0, 0,    25,   0,    0,    0,          //
                       0x03, 0x10, 0,    0, 0x04, 0x10, 0,    0,                //
                       0x05, 0x10, 0,    0, 0x06, 0x10, 0,    0,                //
                       '#',  0x82, 0,    1, 10,   1,    0x08, 0x10, 0,    0,    // cover
                       '$',  0x08, 0x10, 0, 0,    11,   0,    0,    0,    7, 8, //
                       '#',  0x87, 0,    1, 11,   16,   208,  0x09, 0x10, 0, 0, // page offsets
                       '$',  0x09, 0x10, 0, 0,    13,   0,    0,    0,    0, 0, 0, 0, //
                       '#',  0x0C, 0,    0, 9};
    Bytes expected = start + ChunkNode(3, {'A', 0}) + separator + ChunkNode(4, {'B', 0}) +
                     ChunkNode(5, {'C', 0}) + chunksFollow + ChunkNode(6, {0x29, 0x20}) + end;
    const std::size_t fileBytes = expected.size() + 4;
    expected = expected + Bytes{static_cast<unsigned char>(fileBytes),
                                static_cast<unsigned char>(fileBytes >> 8), 0, 0};
    EXPECT_EQ(umdbook::WriteBook(book, options), expected);
}

TEST(WriteBookTest, StringsTooLongForTheirNodes_AreCutAtAWholeCharacter) {
    const std::u16string longTitle = std::u16string(124, u'a') + u"\U0001F600b";
    Book book;
    book.title = longTitle;
    book.author = std::u16string(125, u'a');
    book.chapters = {{std::u16string(126, u'a') + u"\U0001F600", u"x\u2029"},
                     {std::u16string(128, u'a'), u"y\u2029"}};
    Reader reader(umdbook::WriteBook(book));
    EXPECT_EQ(Reader::Owned(reader.GetTitle()), std::u16string(124, u'a'));
    EXPECT_EQ(Reader::Owned(reader.GetAuthor()), book.author);
    ASSERT_EQ(reader.ChapterCount(), 2);
    EXPECT_EQ(reader.ChapterTitle(0), std::u16string(126, u'a'));
    EXPECT_EQ(reader.ChapterTitle(1), std::u16string(127, u'a'));
    EXPECT_EQ(reader.Text(), u"x\u2029y\u2029");
}

TEST(WriteBookTest, BookWithoutTextAndALiedLength_IsStillReadable) {
    umdbook::Options options;
    options.declaredLength = -5;
    Reader reader(umdbook::WriteBook({}, options));
    EXPECT_EQ(reader.GetContentLength(), -5);
    EXPECT_EQ(reader.GetChunkCount(), 0);
}

TEST(BookFromTextTest, Texts_GiveTheirChapters) {
    using Chapters = std::vector<std::pair<std::u16string, std::u16string>>;
    const std::tuple<std::string, Chapters> cases[] = {
        {"", {}},
        {"\n \n\r\n", {}},
        {"one\ntwo\n\n\nthree", {{u"", u"one two\u2029three\u2029"}}},
        {"天地\n玄黃 \n", {{u"", u"天地玄黃\u2029"}}},
        {"\xEF\xBB\xBF# I\r\n a\tb \r\n\r\nc\r\n", {{u"I", u"I\u2029a\tb\u2029c\u2029"}}},
        {"intro\n# I\n# II\nx\n",
         {{u"", u"intro\u2029"}, {u"I", u"I\u2029"}, {u"II", u"II\u2029x\u2029"}}},
        {"#no\n\n# \n\n## no", {{u"", u"#no\u2029#\u2029## no\u2029"}}},
        {"once: upon\ntitle: a time", {{u"", u"once: upon title: a time\u2029"}}},
    };
    for (const auto& [text, expected] : cases) {
        Chapters chapters;
        for (const umdbook::Chapter& chapter : umdbook::BookFromText(text).chapters)
            chapters.emplace_back(chapter.title, chapter.text);
        EXPECT_EQ(chapters, expected) << text;
    }
}

TEST(BookFromTextTest, FieldsInFront_FillTheBookAndLeaveTheText) {
    const Book book = umdbook::BookFromText("title: T: t\nauthor: 甲\nyear: 1\nmonth: 2\nday: 3\n"
                                            "genre: g\npublisher: p\nvendor: v\n\nday: text\n");
    EXPECT_EQ(std::tie(book.title, book.author, book.year, book.month, book.day, book.genre,
                       book.publisher, book.vendor),
              std::make_tuple(u"T: t", u"甲", u"1", u"2", u"3", u"g", u"p", u"v"));
    EXPECT_EQ(book.Text(), u"day: text\u2029");
    EXPECT_THROW(umdbook::BookFromText("title: T\nautor: A\n\ntext"), std::runtime_error);
}

TEST(Utf8Test, BytesThatAreNotUtf8_AreRefused) {
    for (const char* bytes : {"\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x9F\xBF", "\xED\xA0\x80",
                              "\xE4\xBD", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80"})
        EXPECT_THROW(umdbook::ToUtf16(bytes), std::runtime_error) << bytes;
}

TEST(Utf8Test, CharactersOfEachSize_SurviveBothWaysAndLoneSurrogatesAreReplaced) {
    const std::u16string text = u"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF";
    const std::string utf8 = "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80"
                             "\xF4\x8F\xBF\xBF";
    EXPECT_EQ(umdbook::ToUtf16(utf8), text);
    EXPECT_EQ(umdbook::ToUtf8(text), utf8);
    EXPECT_EQ(umdbook::ToUtf8({0xDC00, u'a', 0xD800}), "\xEF\xBF\xBD\x61\xEF\xBF\xBD");
}

TEST(RepeatedTest, Book_GrowsByNumberedChaptersToTheSizeAsked) {
    const Book book = umdbook::BookFromText("title: T\n\n# A\n# B\n");
    const Book repeated = umdbook::Repeated(book, 31); // a chapter has 10 bytes
    EXPECT_EQ(repeated.title, u"T");
    EXPECT_EQ(repeated.Text(), u"1. A\u20292. B\u20293. A\u20294. B\u2029");
    EXPECT_EQ(repeated.chapters.back().title, u"4. B");
    EXPECT_EQ(umdbook::Repeated(book, 30).chapters.size(), 3U);
    EXPECT_EQ(umdbook::Repeated(book, 0).chapters.size(), 2U) << "never shorter than the book";
    EXPECT_TRUE(umdbook::Repeated({}, 30).chapters.empty());
}

// Sample, chunk bytes, chapter table, separators, trailer.
using Form = std::tuple<const char*, std::size_t, bool, bool, bool>;
class SampleBookTest : public testing::TestWithParam<Form> {};

TEST_P(SampleBookTest, ReadBack_GivesExactlyItsTextAndChapters) {
    const auto [name, chunkBytes, table, separators, trailer] = GetParam();
    std::ifstream file(std::string(TEST_SAMPLES "/") + name, std::ios::binary);
    const std::string utf8{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const Book book = umdbook::BookFromText(utf8);
    Reader reader(umdbook::WriteBook(book, {chunkBytes, table, separators, trailer, {}}));

    const std::u16string text = book.Text();
    const std::size_t chunks = (2 * text.size() + chunkBytes - 1) / chunkBytes;
    ASSERT_GT(text.size(), 7000U);
    EXPECT_EQ(reader.GetChunkCount(), static_cast<int>(chunks));
    EXPECT_EQ(reader.GetContentLength(), static_cast<int>(2 * text.size()));
    EXPECT_TRUE(reader.Text() == text);
    EXPECT_EQ(Reader::Owned(reader.GetTitle()), book.title);
    EXPECT_EQ(Reader::Owned(reader.GetAuthor()), book.author);
    ASSERT_EQ(reader.ChapterCount(), table ? static_cast<int>(book.chapters.size()) : 0);
    for (int i = 0; i < reader.ChapterCount(); ++i) {
        const std::u16string title = reader.ChapterTitle(i);
        EXPECT_EQ(title, book.chapters[static_cast<std::size_t>(i)].title);
        EXPECT_EQ(text.substr(reader.ChapterOffset(i) / 2, title.size()), title);
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, SampleBookTest,
                         testing::Combine(testing::Values("art-of-war.txt", "alice.txt"),
                                          testing::Values(128, 1000, 32768), testing::Bool(),
                                          testing::Bool(), testing::Bool()));

} // namespace
