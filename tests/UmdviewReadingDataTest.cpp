// What the reference host does with reading data: it shows them, and resumes where they say.
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/ReadingDataFixture.h"
#include "tests/UmdviewFixture.h"

namespace {

using namespace umdviewtest;
using readingdata::FileOf;
using readingdata::Le32;

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
    Write("a.umd", umdbook::WriteBook(SmallBook(LongText())));
    Run("render a.umd --out all --screens 1-6 --format pgm");
    EXPECT_FALSE(fs::exists(m_folder / "a.umd.qvp"));
    EXPECT_EQ(Run("render a.umd --resume --out one --screens 2-4 --format pgm").status, 0);
    EXPECT_TRUE(Image("one", "screen-0004.pgm") == Image("all", "screen-0004.pgm"));
    const Result second = Run("render a.umd --resume --out two --screens 1-3 --format pgm");
    EXPECT_EQ(second.err, "");
    for (const char number : {'1', '2', '3'}) {
        const std::string continued = std::string("screen-000") + static_cast<char>(number + 3);
        EXPECT_TRUE(Image("two", std::string("screen-000") + number + ".pgm") ==
                    Image("all", continued + ".pgm"))
            << number;
    }
    // A run that draws nothing, or cannot go on, leaves the place.
    const std::string kept = Read(m_folder / "a.umd.qvp");
    EXPECT_EQ(Run("render a.umd --resume --out two --screens 900").status, 0);
    EXPECT_TRUE(Read(m_folder / "a.umd.qvp") == kept);
    EXPECT_EQ(Run("render a.umd --resume --out two", "trap '' XFSZ; ulimit -f 20;").status, 1);
    EXPECT_TRUE(Read(m_folder / "a.umd.qvp") == kept);
}

TEST_F(UmdviewReadingDataTest, LookWithoutResume_NeitherUsesNorChangesTheReadingData) {
    Write("a.umd", umdbook::WriteBook(SmallBook(LongText())));
    Run("render a.umd --out start --screens 1 --format pgm");
    const std::string files[] = {FileOf({BookInfo(50)}), FileOf({{3, 7, Le32(0)}}), "foreign",
                                 FileOf({{0, 7, std::string(6000, '\0')}, BookInfo(50)}),
                                 FileOf({BookInfo(50)}) + "\3torn"};
    for (const std::string& bytes : files) {
        Write("a.umd.qvp", bytes);
        EXPECT_EQ(Run("render a.umd --out out --screens 1-2 --format pgm").err, "");
        EXPECT_EQ(Run("info a.umd").status, 0);
        EXPECT_EQ(Read(m_folder / "a.umd.qvp"), bytes);
        EXPECT_TRUE(Image("out", "screen-0001.pgm") == Image("start", "screen-0001.pgm"));
    }
    fs::create_directory(m_folder / "tmp");
    Run("render a.umd --out out", "export TMPDIR=tmp;");
    EXPECT_EQ(FileCount("tmp"), 0u);
    EXPECT_EQ(Run("render a.umd --out out", "export TMPDIR=none;").status, 1);
}

TEST_F(UmdviewReadingDataTest, ResumeOfAPlaceThatIsNoneOrCannotBeKept_IsToldAndDrawsFromTheStart) {
    Write("a.umd", umdbook::WriteBook(SmallBook(LongText())));
    Run("render a.umd --out start --screens 1 --format pgm");
    const struct {
        std::string bytes;
        int status;
        std::string reason;
    } cases[] = {
        {FileOf({}), 0, ""},
        {FileOf({BookInfo(4711)}), 0,
         "umdview: a.umd: the saved place is outside of the book: beginning at the start\n"},
        {"foreign", 1,
         "umdview: a.umd.qvp: the place cannot be kept: it holds no place that can be "
         "read\n"}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.reason);
        Write("a.umd.qvp", row.bytes);
        const Result result = Run("render a.umd --resume --out out --screens 1 --format pgm");
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.err, row.reason);
        EXPECT_TRUE(Image("out", "screen-0001.pgm") == Image("start", "screen-0001.pgm"));
        EXPECT_EQ(Contains(Run("info a.umd").out, "Place:      0.0 % (block 0)\n"),
                  row.status == 0);
    }
    EXPECT_EQ(Run("render none.umd --resume --out out").status, 1);
    EXPECT_FALSE(fs::exists(m_folder / "none.umd.qvp"));
}

TEST_F(UmdviewReadingDataTest, InfoOfABookWithAPlace_TellsItInPercentOfTheBook) {
    const struct {
        std::size_t bytes;
        std::uint32_t block;
        std::string line;
        nlohmann::json percent;
    } cases[] = {{128 * 41, 0, "0.0 % (block 0)", 0.0},
                 {128 * 41, 15, "37.5 % (block 15)", 37.5},
                 {128 * 40 + 2, 40, "100.0 % (block 40)", 100.0},
                 {128 * 31, 10, "33.3 % (block 10)", 33.3},
                 {128, 0, "0.0 % (block 0)", 0.0},
                 {128, 1, "block 1, which is outside of the book", nullptr}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.line);
        Write("a.umd",
              BookOfChunks({std::string(row.bytes, 'A')}, static_cast<std::uint32_t>(row.bytes)));
        Write("a.umd.qvp", FileOf({BookInfo(row.block)}));
        EXPECT_TRUE(Contains(Run("info a.umd").out, "Place:      " + row.line + "\n"));
        EXPECT_EQ(nlohmann::json::parse(Run("info --json a.umd").out)["place"],
                  nlohmann::json({{"percent", row.percent}, {"block", row.block}, {"offset", 12}}));
    }
}

TEST_F(UmdviewReadingDataTest, ReadingDataOfEveryKind_IsToldRecordByRecordAndDecoded) {
    Write("a.umd", umdbook::WriteBook(SmallBook(u"A\u2029")));
    const std::string bytes = FileOf(EveryKind(), 7, 9);
    Write("a.umd.qvp", bytes);
    const Result lines = Run("readingdata a.umd");
    EXPECT_EQ(lines.status, 0);
    EXPECT_EQ(lines.err, "");
    EXPECT_EQ(lines.out, R"(File:       a.umd.qvp
Version:    7, revision 9
Size:       386 bytes

    Offset  Type                          Id      Length  State
         5    3 index list                 7           8  live
        22    0 free                       7           4  free
        35    2 path table        0xFFFFFFFF          19  live
        63    1 book information  0xFFFFFFFF          76  live
       148    4 tag list                   7         104  live
       261    5 positions                  7          13  live
       283    6 ranges                     7          17  live
       309    7 comments                   7          28  live
       346    3 index list                 7          12  live
       367    9 unknown                    1           1  live
       377    4 tag list                   8           0  live

Records:    10 live, 1 free
Dead:       4 bytes of data in free records

Path table
    "/a.umd" (1, 2)

File id 0xFFFFFFFF
  Book information
    Name:       "Moon\u001b[31m"
    Author:     -
    Publisher:  -
    ISBN:       -
    Summary:    -
    Cover page: -
    Source:     0
    Progress:   42
    Bookmark:   block 3, offset 12
    Serialized: yes
    Section:    "IX"

File id 7
  Index list
    1000 5 -1
  Tag list
    "red"
    "caf)"
                         "\uFFFD"
                         R"("
  Positions
    block 1, offset 2
  Ranges
    block 3, offset 258, length 20
  Comments
    block 4, offset 5, length 6, "see\n\"p. 9\""
)");
    const auto json = nlohmann::json::parse(Run("readingdata --json a.umd.qvp").out);
    EXPECT_EQ(json["file"], "a.umd.qvp");
    EXPECT_EQ(json["records"].size(), 11u);
    EXPECT_EQ(json["records"][1], nlohmann::json::parse(R"({"offset": 22, "type": 0, "name": "free",
              "id": 7, "length": 4, "free": true, "torn": false})"));
    EXPECT_EQ(json["deadBytes"], 4);
    EXPECT_EQ(json["pathTable"][0],
              nlohmann::json::parse(R"({"value0": 1, "value1": 2, "path": "/a.umd"})"));
    const auto &common = json["books"][0], &book = json["books"][1];
    EXPECT_EQ(json["books"].size(), 2u);
    EXPECT_EQ(common["id"], commonId);
    EXPECT_EQ(common["tags"], nullptr);
    EXPECT_EQ(common["bookInformation"]["readingBookmark"]["block"], 3);
    EXPECT_EQ(book["indexList"], nlohmann::json({1000, 5, -1}));
    EXPECT_EQ(book["tags"], nlohmann::json({"red", "caf\uFFFD"}));
    EXPECT_EQ(book["positions"], nlohmann::json::parse(R"([{"block": 1, "offset": 2}])"));
    EXPECT_EQ(book["comments"], nlohmann::json::parse(R"([{"block": 4, "offset": 5, "length": 6,
              "comment": "see\n\"p. 9\""}])"));
    EXPECT_TRUE(json["damage"].empty());
    EXPECT_EQ(Read(m_folder / "a.umd.qvp"), bytes);
}

TEST_F(UmdviewReadingDataTest, DamagedReadingData_IsNamedAndTheRestTold) {
    const std::string rest = "    \"kept\"\n";
    const readingdata::Record kept = {4, 9, Le32(1) + Tag("kept")};
    const struct {
        readingdata::Record record;
        std::string reason;
    } cases[] = {
        {{3, 7, Le32(30) + Le32(5)}, "index list: it should hold 30 entries, of which 1 can be"},
        {{4, 7, Le32(1) + std::string(50, 'x')}, "tag list: it should hold 1 entries, of which 0"},
        {{2, 7, Le32(1)}, "of which 0 can be read; the library then reads none of the path table"},
        {{7, 7, Le32(1) + std::string(13, 'x')}, "comments: it should hold 1 entries, of which 0"},
        {{5, 7, Le32(1) + '\1' + Le32(1) + Le32(2)}, "positions: it should hold 1 entries"},
        {{6, 7, "ab"}, "ranges: it is too short for a list"},
        {{1, 7, Le32(0xFFFFFFF7)}, "book information: its fields do not fit into it"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.reason);
        Write("a.qvp", FileOf({row.record, kept}));
        const Result lines = Run("readingdata a.qvp");
        EXPECT_EQ(lines.status, 1);
        EXPECT_TRUE(Contains(lines.err, "umdview: a.qvp: damaged: record at offset 5, "));
        EXPECT_TRUE(Contains(lines.err, row.reason)) << lines.err;
        EXPECT_TRUE(Contains(lines.out, rest));
        const auto json = nlohmann::json::parse(Run("readingdata --json a.qvp").out);
        EXPECT_EQ(json["damage"].size(), 1u);
        EXPECT_EQ(json["books"].back()["tags"], nlohmann::json({"kept"}));
    }
    Write("a.qvp", FileOf({BookInfo(1), BookInfo(2)}));
    EXPECT_TRUE(Contains(Run("readingdata a.qvp").err, "another one of this file id comes before"));
}

TEST_F(UmdviewReadingDataTest, ReadingDataCutAnywhere_IsToldAsFarAsItGoes) {
    const std::string bytes = FileOf(EveryKind());
    for (std::size_t size = bytes.size() - 1; size >= 5; size -= size % 7 + 5) {
        SCOPED_TRACE(size);
        Write("a.qvp", bytes.substr(0, size));
        const Result result = Run("readingdata --json a.qvp");
        const auto json = nlohmann::json::parse(result.out);
        EXPECT_EQ(result.status, json["damage"].empty() ? 0 : 1);
        EXPECT_EQ(json["size"], size);
    }
    Write("a.qvp", bytes.substr(0, bytes.size() - 9 - 5));
    EXPECT_TRUE(Contains(Run("readingdata a.qvp").err, "5 bytes at the end are no record"));
    Write("a.qvp", FileOf({}) + '\0' + Le32(7) + Le32(0xFFFFFFF7) + "abc");
    const Result torn = Run("readingdata a.qvp");
    EXPECT_TRUE(Contains(torn.out, "4294967287  free, torn: 4294967284 bytes are missing\n"));
    EXPECT_TRUE(Contains(torn.out, "Dead:       3 bytes of data in free records\n"));
}

TEST_F(UmdviewReadingDataTest, FileThatIsNoReadingData_GivesNameReasonAndStatus1) {
    Write("words", std::string("Just some words in a row."));
    Write("short.qvp", std::string("QVP\1"));
    Write("words.umd", std::string("A book?"));
    Write("words.umd.qvp", std::string("No reading data."));
    const struct {
        const char *file, *reason;
    } cases[] = {{"missing", "missing: No such file or directory"},
                 {"/dev/null", "/dev/null: not a regular file"},
                 {".", ".: Is a directory"},
                 {"words", "words: not a reading-data file, and there is no words.qvp"},
                 {"words.umd", "words.umd.qvp: not a reading-data file"},
                 {"short.qvp", "short.qvp: damaged: its header is cut off"}};
    for (const auto& row : cases) {
        const Result result = Run(std::string("readingdata ") + row.file);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, std::string("umdview: ") + row.reason + "\n");
        EXPECT_EQ(result.out, "");
    }
}

// A search through the whole file for each of its books would take minutes.
TEST_F(UmdviewReadingDataTest, ReadingDataOfVeryManyBooks_IsToldInOnePass) {
    std::vector<readingdata::Record> records;
    for (std::uint32_t id = 0; id < 100000; ++id)
        records.push_back({3, id, Le32(2)});
    Write("a.qvp", FileOf(records));
    const Result result = Run("readingdata a.qvp");
    EXPECT_TRUE(Contains(result.out, "\nFile id 99999\n  Index list\n    -\n"));
    EXPECT_TRUE(Contains(result.err, "umdview: a.qvp: damaged: 99900 more places\n"));
}

} // namespace
