// What the reference host does with reading data: it shows them, and resumes where they say.
#include <string>

#include "tests/UmdviewFixture.h"

namespace {

using namespace umdviewtest;
using readingdata::Bytes;
using readingdata::FileOf;

class UmdviewReadingDataTest : public UmdviewTest {};

constexpr std::uint32_t kCommonId = 0xFFFFFFFF;

std::string Slot(const std::string& text) {
    return Le32(static_cast<std::uint32_t>(text.size() + 1)) + text + '\0';
}

std::string InfoData(const std::string& name, const std::string& bookmark, char serialized) {
    return Slot(name) + Slot("") + Slot("") + Slot("") + Slot("") + Slot("") + '\0' + Le32(42) +
           Le32(static_cast<std::uint32_t>(bookmark.size())) + bookmark + serialized + Slot("IX");
}

// Book information with the bookmark at a block.
readingdata::Record BookInfo(std::uint32_t block, const std::string& name = "") {
    const std::string bookmark = '\0' + Le32(block) + Le32(12) + std::string(11, '\0');
    return {1, kCommonId, InfoData(name, bookmark, '\1')};
}

std::string Tag(const std::string& text) {
    return text + std::string(50 - text.size(), '\0');
}

// A record of every kind, none of them damaged.
std::vector<readingdata::Record> EveryKind() {
    return {{3, 7, Le32(1) + Le32(1000)},
            {0, 7, "dead"},
            {2, kCommonId, Le32(1) + Le32(1) + Le32(2) + "/a.umd" + '\0'},
            BookInfo(3, "Moon\x1b[31m"),
            {4, 7, Le32(2) + Tag("red") + Tag("caf\xE9")},
            {5, 7, Le32(1) + '\0' + Le32(1) + Le32(2)},
            {6, 7, Le32(1) + '\0' + Le32(3) + Le32(258) + Le32(20)},
            {7, 7, Le32(1) + '\0' + Le32(4) + Le32(5) + Le32(6) + "see\n\"p. 9\"" + '\0'},
            {3, 7, Le32(2) + Le32(5) + Le32(0xFFFFFFFF)},
            {9, 1, "?"},
            {4, 8, ""},
            {1, 8, InfoData("", "?", '\0')}}; // no room for a bookmark
}

TEST_F(UmdviewReadingDataTest, ResumeBeginsAtTheLastScreenDrawnBefore) {
    Draw("all", "--screens 1-8");
    EXPECT_FALSE(Exists("book.umd.qvp"));
    EXPECT_EQ(Draw("one", "--resume --screens 2-4").status, 0);
    EXPECT_TRUE(Screen("one", 4) == Screen("all", 4));
    EXPECT_EQ(Draw("two", "--resume --screens 1-3").err, "");
    for (const int number : {1, 2, 3})
        EXPECT_TRUE(Screen("two", number) == Screen("all", number + 3)) << number;
    // A run that draws nothing, or cannot go on, leaves the place.
    const std::string kept = Read();
    EXPECT_EQ(Draw("two", "--resume --screens 900").status, 0);
    EXPECT_TRUE(Read() == kept);
    fs::create_directory(m_Folder / "two/screen-0005.pgm.part"); // where a file would be written
    EXPECT_EQ(Draw("two", "--resume").status, 1);
    EXPECT_TRUE(Read() == kept);
}

TEST_F(UmdviewReadingDataTest, LookAtABookLeavesThePlaceAloneThatResumeUsesOrRefuses) {
    Draw("start", "--screens 1");
    const struct {
        std::string bytes;
        int status;
        bool fromStart;
        std::string reason;
    } cases[] = {{FileOf({{3, 7, Le32(0)}}), 0, true, ""},
                 {FileOf({BookInfo(4711)}), 0, true, "saved place is outside of the book"},
                 {"foreign", 1, true, "book.umd.qvp: the place cannot be kept"},
                 {FileOf({BookInfo(50)}) + "\3torn", 0, false, ""}};
    for (const auto& row : cases) {
        Write(row.bytes);
        EXPECT_EQ(Draw("look", "--screens 1").err, "");
        EXPECT_EQ(Run("info book.umd").status, 0);
        EXPECT_EQ(Read(), row.bytes);
        EXPECT_TRUE(Screen("look", 1) == Screen("start", 1));
        const Result resume = Draw("out", "--resume --screens 1");
        EXPECT_EQ(resume.status, row.status);
        EXPECT_TRUE(Contains(resume.err, row.reason) && row.reason.empty() == resume.err.empty());
        EXPECT_EQ(Screen("out", 1) == Screen("start", 1), row.fromStart);
        EXPECT_EQ(Contains(Run("info book.umd").out, " 0.0 % (block 0)\n"),
                  row.fromStart && row.status == 0);
    }
}

TEST_F(UmdviewReadingDataTest, InfoOfABookWithAPlaceTellsItInPercentOfTheBook) {
    const struct {
        std::uint32_t bytes, block;
        std::string line;
        nlohmann::json percent;
    } cases[] = {{128 * 41, 15, "37.5 % (block 15)", 37.5},
                 {128 * 40 + 2, 40, "100.0 % (block 40)", 100.0},
                 {128, 0, "0.0 % (block 0)", 0.0},
                 {128, 1, "block 1, which is outside of the book", nullptr}};
    for (const auto& row : cases) {
        Write("book.umd", BookOfChunks({std::string(row.bytes, 'A')}, row.bytes));
        Write(FileOf({BookInfo(row.block)}));
        EXPECT_TRUE(Contains(Run("info book.umd").out, "Place:      " + row.line + "\n"));
        EXPECT_EQ(Json("info --json book.umd")["place"],
                  nlohmann::json({{"percent", row.percent}, {"block", row.block}, {"offset", 12}}));
    }
}

TEST_F(UmdviewReadingDataTest, ReadingDataOfEveryKindIsToldRecordByRecordAndDecoded) {
    const std::string bytes = FileOf(EveryKind(), 7, 9);
    Write(bytes);
    const std::string lines = Run("readingdata book.umd").out;
    EXPECT_EQ(lines.substr(0, lines.find("    offset")),
              "file: \"book.umd.qvp\"\nversion: 7\nrevision: 9\nsize: 443\n"
              "deadBytes: 4\nrecords:\n  -\n");
    EXPECT_TRUE(
        Contains(lines, "    id: 7\n    length: 12\n    content:\n      - 5\n      - -1\n"));
    nlohmann::json contents;
    const auto document = Json("readingdata --json book.umd.qvp");
    for (const auto& record : document["records"])
        contents.push_back(record.value("content", nlohmann::json(record["name"])));
    EXPECT_EQ(contents, nlohmann::json::parse(R"([[1000], "free",
        [{"value0": 1, "value1": 2, "path": "/a.umd"}], {"bookName": "Moon\u001b[31m",
        "author": "", "coverPagePath": "", "publisher": "", "isbn": "", "summary": "",
        "latestSection": "IX", "bookSource": 0, "readingProgress": 42, "serialized": true,
        "readingBookmark": {"block": 3, "offset": 12}}, ["red", "caf\uFFFD"],
        [{"block": 1, "offset": 2}], [{"block": 3, "offset": 258, "length": 20}],
        [{"block": 4, "offset": 5, "length": 6, "comment": "see\n\"p. 9\""}], [5, -1],
        "unknown", "tag list", {"bookName": "", "author": "", "coverPagePath": "",
        "publisher": "", "isbn": "", "summary": "", "latestSection": "IX", "bookSource": 0,
        "readingProgress": 42, "serialized": false, "readingBookmark": null}])"));
    EXPECT_TRUE(document["damage"].empty());
    EXPECT_FALSE(Contains(lines, "\x1b"));
    EXPECT_EQ(Read(), bytes);
}

TEST_F(UmdviewReadingDataTest, DamagedReadingDataIsNamedAndTheRestTold) {
    const std::string kept = FileOf({{4, 9, Le32(1) + Tag("kept")}});
    const std::string cases[][2] = {
        {Bytes({3, 7, Le32(30) + Le32(5)}), "index list: it should hold 30 entries, of which 1"},
        {Bytes({2, 7, Le32(1)}), "path table: it should hold 1 entries, of which 0 can be read"},
        {Bytes({7, 7, Le32(1) + std::string(13, 'x')}), "comments: it should hold 1 entries"},
        {Bytes({6, 7, "ab"}), "ranges: it is too short for a list"},
        {Bytes({4, 7, Le32(2) + std::string(50, 'x') + Tag("y")}), "2 entries, of which 1 can"},
        {Bytes({5, 7, Le32(2) + "\1"s + Le32(1) + Le32(1) + '\0' + Le32(2) + Le32(2)}),
         "positions: it should hold 2 entries, of which 1 can be read"},
        {Bytes({7, 7, Le32(1) + '\0' + Le32(1) + Le32(1) + Le32(1) + "endless"}), "of which 0 can"},
        {Bytes({1, 7, Le32(0) + BookInfo(1).data.substr(5)}), "its fields do not fit into it"},
        {Bytes({1, 7, Le32(0xFFFFFFF7)}), "book information: its fields do not fit into it"},
        {Bytes(BookInfo(1)) + Bytes(BookInfo(2)), "another one of this file id comes before it"},
        {"\4torn", "5 bytes at the end are no record"},
        {'\0' + Le32(7) + Le32(0xFFFFFFF7) + "abc", "record at offset 68, free: it is cut off; "
                                                    "4294967284 of its 4294967287 bytes"}};
    for (const auto& [record, reason] : cases) {
        Write(kept + record);
        const auto json = Json("readingdata --json book.umd");
        const std::string damage = json["damage"].at(0);
        EXPECT_TRUE(Contains(damage, reason)) << damage;
        EXPECT_EQ(json["records"][0]["content"], nlohmann::json({"kept"}));
        const Result lines = Run("readingdata book.umd");
        EXPECT_EQ(lines.status, 1);
        EXPECT_EQ(lines.err, "umdview: book.umd.qvp: damaged: " + damage + "\n");
        EXPECT_TRUE(Contains(lines.out, "      - \"kept\"\n"));
    }
}

} // namespace
