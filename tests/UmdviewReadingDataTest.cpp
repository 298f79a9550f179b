// What the reference host does with reading data: it shows them, and resumes where they say.
#include <string>
#include <tuple>

#include "tests/UmdviewFixture.h"

namespace {

using namespace umdviewtest;
using readingdata::Bytes;
using readingdata::FileOf;

class UmdviewReadingDataTest : public UmdviewTest {};

constexpr std::uint32_t commonId = 0xFFFFFFFF;

std::string Slot(const std::string& text) {
    return Le32(static_cast<std::uint32_t>(text.size() + 1)) + text + '\0';
}

// Book information with the bookmark at a block.
readingdata::Record BookInfo(std::uint32_t block, const std::string& name = "") {
    const std::string bookmark = '\0' + Le32(block) + Le32(12) + std::string(11, '\0');
    return {1, commonId,
            Slot(name) + Slot("") + Slot("") + Slot("") + Slot("") + Slot("") + '\0' + Le32(42) +
                Le32(20) + bookmark + '\1' + Slot("IX")};
}

std::string Tag(const std::string& text) {
    return text + std::string(50 - text.size(), '\0');
}

// A record of every kind, none of them damaged.
std::vector<readingdata::Record> EveryKind() {
    return {{3, 7, Le32(1) + Le32(1000)},
            {0, 7, "dead"},
            {2, commonId, Le32(1) + Le32(1) + Le32(2) + "/a.umd" + '\0'},
            BookInfo(3, "Moon\x1b[31m"),
            {4, 7, Le32(2) + Tag("red") + Tag("caf\xE9")},
            {5, 7, Le32(1) + '\0' + Le32(1) + Le32(2)},
            {6, 7, Le32(1) + '\0' + Le32(3) + Le32(258) + Le32(20)},
            {7, 7, Le32(1) + '\0' + Le32(4) + Le32(5) + Le32(6) + "see\n\"p. 9\"" + '\0'},
            {3, 7, Le32(2) + Le32(5) + Le32(0xFFFFFFFF)},
            {9, 1, "?"},
            {4, 8, ""}};
}

TEST_F(UmdviewReadingDataTest, Resume_BeginsAtTheLastScreenDrawnBefore) {
    Draw("all", "--screens 1-8");
    EXPECT_FALSE(Exists("book.umd.qvp"));
    EXPECT_EQ(Draw("one", "--resume --screens 2-4").status, 0);
    EXPECT_TRUE(Screen("one", 4) == Screen("all", 4));
    EXPECT_EQ(Draw("two", "--resume --screens 1-3").err, "");
    for (const int number : {1, 2, 3})
        EXPECT_TRUE(Screen("two", number) == Screen("all", number + 3)) << number;
    EXPECT_EQ(Draw("one", "--resume --screens 3-3").status, 0);
    EXPECT_TRUE(Screen("one", 3) == Screen("all", 8)) << "two screens are paged over";
    // A run that draws nothing, or cannot go on, leaves the place.
    const std::string kept = Read();
    EXPECT_EQ(Draw("two", "--resume --screens 900").status, 0);
    EXPECT_TRUE(Read() == kept);
    fs::create_directory(m_Folder / "two/screen-0005.pgm.part"); // where a file would be written
    EXPECT_EQ(Draw("two", "--resume").status, 1);
    EXPECT_TRUE(Read() == kept);
}

TEST_F(UmdviewReadingDataTest, LookAtABook_LeavesThePlaceAloneThatResumeUsesOrRefuses) {
    Draw("start", "--screens 1");
    const std::string outside = "outside of the book: beginning at the start\n";
    const std::string unread = "the place cannot be kept: it holds no place that can be read\n";
    const struct {
        std::string bytes;
        int status;
        bool fromStart;
        std::string reason;
    } cases[] = {{FileOf({{3, 7, Le32(0)}}), 0, true, ""},
                 {FileOf({BookInfo(4711)}), 0, true, "book.umd: the saved place is " + outside},
                 {"foreign", 1, true, "book.umd.qvp: " + unread},
                 {FileOf({{0, 7, std::string(6000, '\0')}, BookInfo(50)}), 0, false, ""},
                 {FileOf({BookInfo(50)}) + "\3torn", 0, false, ""}};
    for (const auto& row : cases) {
        Write(row.bytes);
        EXPECT_EQ(Draw("look", "--screens 1").err, "");
        EXPECT_EQ(Run("info book.umd").status, 0);
        EXPECT_EQ(Read(), row.bytes);
        EXPECT_TRUE(Screen("look", 1) == Screen("start", 1));
        const Result resume = Draw("out", "--resume --screens 1");
        EXPECT_EQ(resume.status, row.status);
        EXPECT_EQ(resume.err, row.reason.empty() ? "" : "umdview: " + row.reason);
        EXPECT_EQ(Screen("out", 1) == Screen("start", 1), row.fromStart);
        EXPECT_EQ(Contains(Run("info book.umd").out, " 0.0 % (block 0)\n"),
                  row.fromStart && row.status == 0);
    }
}

TEST_F(UmdviewReadingDataTest, InfoOfABookWithAPlace_TellsItInPercentOfTheBook) {
    const struct {
        std::uint32_t bytes, block;
        std::string line;
        nlohmann::json percent;
    } cases[] = {{128 * 41, 15, "37.5 % (block 15)", 37.5},
                 {128 * 40 + 2, 40, "100.0 % (block 40)", 100.0},
                 {128 * 31, 10, "33.3 % (block 10)", 33.3},
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

TEST_F(UmdviewReadingDataTest, ReadingDataOfEveryKind_IsToldRecordByRecordAndDecoded) {
    const std::string bytes = FileOf(EveryKind(), 7, 9);
    Write(bytes);
    const std::string lines = Run("readingdata book.umd").out;
    EXPECT_EQ(lines.substr(0, lines.find("  -\n    offset: 22\n")), R"(file: "book.umd.qvp"
version: 7
revision: 9
size: 386
deadBytes: 4
records:
  -
    offset: 5
    type: 3
    name: "index list"
    id: 7
    length: 8
    content:
      - 1000
)");
    const auto json = Json("readingdata --json book.umd.qvp");
    const std::tuple<int, std::string, std::string> records[] = {
        {5, "index list", "[1000]"},
        {22, "free", "null"},
        {35, "path table", R"([{"value0": 1, "value1": 2, "path": "/a.umd"}])"},
        {63, "book information", R"({"bookName": "Moon\u001b[31m", "author": "",
            "coverPagePath": "", "publisher": "", "isbn": "", "summary": "", "latestSection": "IX",
            "bookSource": 0, "readingProgress": 42, "serialized": true,
            "readingBookmark": {"block": 3, "offset": 12}})"},
        {148, "tag list", R"(["red", "caf\uFFFD"])"},
        {261, "positions", R"([{"block": 1, "offset": 2}])"},
        {283, "ranges", R"([{"block": 3, "offset": 258, "length": 20}])"},
        {309, "comments",
         R"([{"block": 4, "offset": 5, "length": 6, "comment": "see\n\"p. 9\""}])"},
        {346, "index list", "[5, -1]"},
        {367, "unknown", "null"},
        {377, "tag list", "null"}};
    ASSERT_EQ(json["records"].size(), std::size(records));
    for (std::size_t i = 0; i < std::size(records); ++i) {
        const auto& record = json["records"][i];
        const auto& [offset, name, content] = records[i];
        EXPECT_EQ(record["offset"], offset);
        EXPECT_EQ(record["name"], name);
        EXPECT_EQ(record.value("content", nlohmann::json()), nlohmann::json::parse(content));
    }
    EXPECT_FALSE(Contains(lines, "\x1b"));
    EXPECT_EQ(Read(), bytes);
}

TEST_F(UmdviewReadingDataTest, DamagedReadingData_IsNamedAndTheRestTold) {
    const std::string kept = FileOf({{4, 9, Le32(1) + Tag("kept")}});
    const std::string cases[][2] = {
        {Bytes({3, 7, Le32(30) + Le32(5)}), "index list: it should hold 30 entries, of which 1"},
        {Bytes({4, 7, Le32(1) + std::string(50, 'x')}), "tag list: it should hold 1 entries"},
        {Bytes({2, 7, Le32(1)}), "path table: it should hold 1 entries, of which 0 can be read"},
        {Bytes({7, 7, Le32(1) + std::string(13, 'x')}), "comments: it should hold 1 entries"},
        {Bytes({5, 7, Le32(1) + '\1' + Le32(1) + Le32(2)}), "positions: it should hold 1 entries"},
        {Bytes({6, 7, "ab"}), "ranges: it is too short for a list"},
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
    EXPECT_TRUE(Contains(Run("readingdata book.umd").out, "\ndeadBytes: 3\n"));
}

TEST_F(UmdviewReadingDataTest, ReadingDataCutAnywhere_IsToldAsFarAsItGoes) {
    const std::string bytes = FileOf(EveryKind());
    for (std::size_t size = bytes.size() - 1; size >= 5; size -= size % 7 + 5) {
        Write(bytes.substr(0, size));
        const Result result = Run("readingdata --json book.umd.qvp");
        const auto json = nlohmann::json::parse(result.out);
        EXPECT_EQ(result.status, json["damage"].empty() ? 0 : 1) << size;
        EXPECT_EQ(json["size"], size);
    }
}

// A search through the whole file for each of its books would take minutes.
TEST_F(UmdviewReadingDataTest, ReadingDataOfVeryManyBooks_IsToldInOnePass) {
    std::string bytes = FileOf({});
    for (std::uint32_t id = 0; id < 100000; ++id)
        bytes += Bytes({3, id, Le32(2)});
    Write(bytes);
    const Result result = Run("readingdata book.umd.qvp");
    EXPECT_TRUE(Contains(result.out, "id: 99999\n    length: 4\n    content: -\ndamage:\n"));
    EXPECT_TRUE(Contains(result.err, "record at offset 1299992, index list: it should hold 2 "));
}

} // namespace
