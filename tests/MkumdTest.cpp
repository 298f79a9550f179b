// The book writer: what it makes is what the parser reads, and what the samples say.
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "RenderFixture.h"
#include "base/Handles.h"
#include "base/LittleEndian.h"
#include "tools/UmdBookWriter.h"
#include "umd/CUMDHandler.h"

namespace {

using umdbook::Book;

class Reader : public QvFormat::CUMDHandler {
public:
    explicit Reader(const umdbook::Bytes& book) : CUMDHandler(fixture::NewStream(book)) {}

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
};

TEST(BookFromTextTest, TextsGiveTheirChapters) {
    using Chapters = std::vector<std::pair<std::u16string, std::u16string>>;
    const std::tuple<std::string, Chapters> cases[] = {
        {"", {}},
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

TEST(BookFromTextTest, FieldsInFrontFillTheBookAndLeaveTheText) {
    const Book book = umdbook::BookFromText("title: T: t\nauthor: 甲\nyear: 1\nmonth: 2\nday: 3\n"
                                            "genre: g\npublisher: p\nvendor: v\n\nday: text\n");
    EXPECT_EQ(std::tie(book.title, book.author, book.year, book.month, book.day, book.genre,
                       book.publisher, book.vendor),
              std::make_tuple(u"T: t", u"甲", u"1", u"2", u"3", u"g", u"p", u"v"));
    EXPECT_EQ(book.Text(), u"day: text\u2029");
    EXPECT_THROW(umdbook::BookFromText("title: T\nautor: A\n\ntext"), std::runtime_error);
}

TEST(Utf8Test, CharactersOfEachSizeSurviveBothWaysAndNothingElseDoes) {
    for (const char* bytes : {"\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x9F\xBF", "\xED\xA0\x80",
                              "\xE4\xBD", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80"})
        EXPECT_THROW(umdbook::ToUtf16(bytes), std::runtime_error) << bytes;
    const std::string utf8 = u8"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF";
    EXPECT_EQ(umdbook::ToUtf8(umdbook::ToUtf16(utf8)), utf8);
    EXPECT_EQ(umdbook::ToUtf8({0xDC00, u'a', 0xD800}), "\xEF\xBF\xBD\x61\xEF\xBF\xBD");
}

TEST(RepeatedTest, BookGrowsByNumberedChaptersToTheSizeAsked) {
    const Book book = umdbook::BookFromText("title: T\n\n# A\n# B\n");
    const Book repeated = umdbook::Repeated(book, 31); // a chapter has 10 bytes
    EXPECT_EQ(repeated.Text(), u"1. A\u20292. B\u20293. A\u20294. B\u2029");
    EXPECT_EQ(repeated.chapters.back().title, u"4. B");
    EXPECT_EQ(umdbook::Repeated(book, 30).chapters.size(), 3U);
}

TEST(WriteBookTest, SamplesReadBackInEveryForm) {
    for (const char* name : {"art-of-war.txt", "alice.txt"}) {
        const Book book = fixture::Sample(name);
        const std::u16string text = book.Text();
        ASSERT_GT(text.size(), 7000U);
        for (unsigned form = 0; form < 24; ++form) {
            const std::size_t chunkBytes = form < 8 ? 128 : form < 16 ? 1000 : 32768;
            const bool table = form & 1;
            Reader reader(umdbook::WriteBook(
                book, {chunkBytes, table, (form & 2) != 0, (form & 4) != 0, {}}));
            const std::size_t chunks = (2 * text.size() + chunkBytes - 1) / chunkBytes;
            EXPECT_EQ(reader.GetChunkCount(), static_cast<int>(chunks)) << form;
            EXPECT_EQ(reader.GetContentLength(), static_cast<int>(2 * text.size()));
            EXPECT_TRUE(reader.Text() == text) << form;
            EXPECT_EQ(Reader::Owned(reader.GetTitle()), book.title);
            ASSERT_EQ(reader.GetChapterCount(), table ? static_cast<int>(book.chapters.size()) : 0);
            for (int i = 0; i < reader.GetChapterCount(); ++i) {
                const std::u16string title = Reader::Owned(reader.GetChapterTitle(i));
                EXPECT_EQ(title, book.chapters[static_cast<std::size_t>(i)].title);
                const auto offset = static_cast<std::size_t>(reader.GetChapterOffset(i));
                EXPECT_EQ(text.substr(offset / 2, title.size()), title);
            }
        }
    }
}

} // namespace
