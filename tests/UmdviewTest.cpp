// What the reference host does with books.
#include <algorithm>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <png.h>

#include "tests/UmdviewFixture.h"

namespace {

using namespace umdviewtest;

TEST_F(UmdviewTest, InfoOfABook_TellsItsFieldsAndKeepsControlsFromTheTerminal) {
    Write("a.umd", umdbook::WriteBook(SmallBook(u"兵😀者\u2029")));
    const Result lines = Run("info a.umd");
    EXPECT_EQ(lines.status, 0);
    EXPECT_EQ(lines.err, "");
    EXPECT_EQ(lines.out, "Title:      孫子  兵法 [31m\nAuthor:     孫武\nDate:       2008-3\n"
                         "Genre:      -\nPublisher:  P\nVendor:     V\nChunks:     1\n"
                         "Declared:   10 bytes of text\n"
                         "Actual:     10 bytes of text, 4 characters\nBlocks:     1 of 128 bytes\n"
                         "Place:      -\n");
    const auto json = nlohmann::json::parse(Run("info --json a.umd").out);
    EXPECT_EQ(json["title"], "孫子\u009b兵法\x1b[31m");
    EXPECT_EQ(json["date"], nlohmann::json({{"year", "2008"}, {"month", "3"}, {"day", nullptr}}));
    EXPECT_EQ(json["genre"], nullptr);
    EXPECT_EQ(json["actualCharacters"], 4);
    EXPECT_TRUE(json["lengthsAgree"].get<bool>());
    EXPECT_TRUE(json["warnings"].empty());
    EXPECT_EQ(json["place"], nullptr);
    EXPECT_FALSE(fs::exists(m_folder / "a.umd.qvp"));
}

TEST_F(UmdviewTest, BookThatLiesAboutItsLength_IsWarnedOfAndDrawnAsFarAsItGoes) {
    umdbook::Options options;
    const int actual = static_cast<int>(LongText().size()) * 2;
    const struct {
        int declared;
        int infoStatus, renderStatus;
        const char* warning;
    } cases[] = {{actual, 0, 0, ""},
                 {actual + 30000, 0, 1, "the last screens cannot be shown"},
                 {actual / 4 * 2, 0, 0, "what is more is not shown"},
                 {-8, 0, 1, "nothing of it can be shown"}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.declared);
        options.declaredLength = row.declared;
        Write("a.umd", umdbook::WriteBook(SmallBook(LongText()), options));
        const Result info = Run("info --json a.umd");
        const auto json = nlohmann::json::parse(info.out);
        EXPECT_EQ(info.status, row.infoStatus);
        EXPECT_EQ(json["declaredBytes"], row.declared);
        EXPECT_EQ(json["actualBytes"], actual);
        EXPECT_EQ(json["lengthsAgree"], row.declared == actual);
        EXPECT_EQ(json["warnings"].size(), row.declared == actual ? 0u : 1u);
        EXPECT_TRUE(Contains(info.err, row.warning));
        EXPECT_EQ(Run("render a.umd --out out --all").status, row.renderStatus);
    }
}

TEST_F(UmdviewTest, RenderWithoutRange_DrawsTenScreensInDarkInkOnWhite) {
    Write("a.umd", umdbook::WriteBook(SmallBook(LongText())));
    const Result result = Run("render a.umd --out deep/out --size 300x201");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, ""); // no terminal, no progress bar
    EXPECT_EQ(result.out, "10 screens drawn to deep/out/ (screen-0001.png to screen-0010.png)\n");
    EXPECT_EQ(FileCount("deep/out"), 10u);

    Run("render a.umd --out pgm --size 300x201 --format pgm");
    const std::string pgm = Image("pgm", "screen-0007.pgm");
    const std::string header = "P5\n300 201\n255\n";
    ASSERT_EQ(pgm.substr(0, header.size()), header);
    const std::string pixels = pgm.substr(header.size());
    ASSERT_EQ(pixels.size(), 300u * 201u);
    const auto white = std::count(pixels.begin(), pixels.end(), '\xFF');
    EXPECT_GT(white, 300 * 201 / 2);
    EXPECT_NE(pixels.find('\0'), std::string::npos);

    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    const std::string path = (m_folder / "deep/out/screen-0007.png").string();
    ASSERT_TRUE(png_image_begin_read_from_file(&image, path.c_str()));
    image.format = PNG_FORMAT_GRAY;
    std::string decoded(PNG_IMAGE_SIZE(image), '\0');
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, decoded.data(), 0, nullptr));
    EXPECT_TRUE(decoded == pixels) << "PNG and PGM differ";
}

TEST_F(UmdviewTest, RenderOfARange_DrawsTheSameScreensAsRenderOfAll) {
    Write("a.umd", umdbook::WriteBook(SmallBook(LongText())));
    const std::string all = Run("render a.umd --out all --all --format pgm").out;
    const std::size_t count = FileCount("all");
    ASSERT_GT(count, 12u);
    const std::string last = std::to_string(count);
    EXPECT_EQ(all, last + " screens drawn to all/ (screen-0001.pgm to screen-00" + last +
                       ".pgm), the book ends at screen " + last + "\n");
    const struct {
        const char* arguments;
        std::size_t files;
        std::string out;
    } cases[] = {
        {"--screens 3", 1, "1 screen drawn to out/ (screen-0003.pgm)\n"},
        {"--screens 11-12", 2, "2 screens drawn to out/ (screen-0011.pgm to screen-0012.pgm)\n"},
        {"--screens 12-999999", count - 11, last + ".pgm), the book ends at screen " + last + "\n"},
        {"--screens 900-901", 0, "0 screens drawn to out/, the book ends at screen " + last + "\n"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.arguments);
        fs::remove_all(m_folder / "out");
        const Result result =
            Run("render a.umd --out out/ --format pgm " + std::string(row.arguments));
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(Contains(result.out, row.out)) << result.out;
        EXPECT_EQ(FileCount("out"), row.files);
        for (const auto& file : fs::directory_iterator(m_folder / "out"))
            EXPECT_TRUE(Read(file) == Image("all", file.path().filename().string())) << file;
    }
}

TEST_F(UmdviewTest, RenderAtAPositionOrFontSize_DrawsOtherScreens) {
    Write("a.umd", umdbook::WriteBook(SmallBook(LongText())));
    Run("render a.umd --out plain --screens 1 --format pgm");
    Run("render a.umd --out indent --screens 1 --format pgm --font-size 40");
    EXPECT_FALSE(Image("plain", "screen-0001.pgm") == Image("indent", "screen-0001.pgm"));
    EXPECT_EQ(Run("render a.umd --out last --position 1").out,
              "1 screen drawn to last/ (screen-0001.png), the book ends at screen 1\n");
}

TEST_F(UmdviewTest, TextInChunksCutAnywhere_IsWholeAndEndsParagraphsWithNewlines) {
    const std::string utf16("\x75\x51\x3D\xD8\x00\xDE\x29\x20\x41\x00\x00\xD8\x42\x00", 14);
    for (std::size_t cut = 1; cut < utf16.size(); ++cut) {
        SCOPED_TRACE(cut);
        Write("a.umd", BookOfChunks({utf16.substr(0, cut), utf16.substr(cut)}, 14));
        EXPECT_EQ(Run("text a.umd").out, "兵😀\nAB"); // the lone half of a pair is left out
    }
    EXPECT_EQ(Run("text --raw a.umd").out, "兵😀\u2029AB");
    const std::u16string text = LongText();
    Write("a.umd", umdbook::WriteBook(SmallBook(text)));
    EXPECT_TRUE(Run("text --raw a.umd").out == umdbook::ToUtf8(text));
}

TEST_F(UmdviewTest, DamagedChunk_IsNamedAndTheTextAroundItKept) {
    std::string book =
        BookOfChunks({std::string("A\0", 2), std::string("B\0", 2), std::string("C\0", 2)}, 6);
    const std::size_t third = book.rfind("x\x9C"); // how a zlib stream begins
    book[book.rfind("x\x9C", third - 1)] ^= '\x10';
    Write("a.umd", book);
    const std::string reason = "umdview: a.umd: damaged: chunk 2 of 3 cannot be read\n";
    const Result text = Run("text a.umd");
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out, "AC");
    EXPECT_EQ(text.err, reason);
    const Result render = Run("render a.umd --out out");
    EXPECT_EQ(render.status, 1);
    EXPECT_EQ(render.err, reason);
    EXPECT_FALSE(fs::exists(m_folder / "out"));
    const Result info = Run("info a.umd --json");
    EXPECT_EQ(info.status, 1);
    EXPECT_EQ(nlohmann::json::parse(info.out)["damagedChunks"], nlohmann::json({1}));
}

TEST_F(UmdviewTest, FileThatIsNoBook_GivesNameReasonAndStatus1InEveryCommand) {
    fs::create_directory(m_folder / "folder");
    Write("empty", std::string());
    Write("words", std::string("Just some words in a row, and no book."));
    const std::string good = BookOfChunks({std::string("A\0", 2)}, 2);
    Write("begin", good.substr(0, 12));
    Write("cut", good.substr(0, good.size() - 1));
    Write("untold", BookOfChunks({}, 500));
    const struct {
        const char *file, *reason;
    } cases[] = {{"missing", "No such file or directory"},
                 {"folder", "Is a directory"},
                 {"/dev/null", "not a regular file"},
                 {"empty", "the file is empty"},
                 {"words", "not a UMD book"},
                 {"begin", "damaged, or not a text book: no text found in it"},
                 {"cut", "damaged: chunk 1 of 1 cannot be read"},
                 {"untold", "damaged: it declares 500 bytes of text but holds none"}};
    for (const auto& row : cases) {
        for (const std::string command : {"info ", "text ", "render --out out "}) {
            SCOPED_TRACE(command + row.file);
            const Result result = Run(command + row.file);
            EXPECT_EQ(result.status, 1);
            EXPECT_TRUE(Contains(result.err,
                                 "umdview: " + std::string(row.file) + ": " + row.reason + "\n"))
                << result.err;
        }
    }
}

TEST_F(UmdviewTest, OutputThatCannotBeWritten_GivesNameReasonAndNoHalfImage) {
    Write("a.umd", umdbook::WriteBook(SmallBook(LongText())));
    const Result folder = Run("render a.umd --out a.umd/out");
    EXPECT_EQ(folder.status, 1);
    EXPECT_EQ(folder.err, "umdview: a.umd/out: Not a directory\n");
    for (const std::string format : {"png", "pgm"}) {
        const Result full =
            Run("render a.umd --out out --format " + format, "trap '' XFSZ; ulimit -f 20;");
        EXPECT_EQ(full.status, 1);
        EXPECT_EQ(full.err, "umdview: out/screen-0001." + format + ": File too large\n");
        EXPECT_EQ(FileCount("out"), 0u);
    }
    const Result device = Run("text a.umd > /dev/full");
    EXPECT_EQ(device.status, 1);
    EXPECT_EQ(device.err, "umdview: standard output: No space left on device\n");
}

TEST_F(UmdviewTest, ClosedPipe_EndsQuietly) {
    std::u16string text;
    for (int i = 0; i < 30; ++i)
        text += LongText();
    Write("a.umd", umdbook::WriteBook(SmallBook(text)));
    const Result result = Run("text a.umd; echo $? > status) | head -c 5", "(");
    EXPECT_EQ(result.out, "0 兵");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(Read(m_folder / "status"), "0\n");
}

TEST_F(UmdviewTest, CommandLine_ThatMakesNoSenseGivesStatus2AndHelpStatus0) {
    Write("a.umd", umdbook::WriteBook(SmallBook(u"A\u2029")));
    const char* refused[] = {"", "draw a.umd", "info", "info a.umd b.umd", "render a.umd"};
    for (const std::string arguments : refused)
        EXPECT_EQ(Run(arguments).status, 2) << arguments;
    const char* refusedOptions[] = {
        "--size 0x800",   "--size 600x10001",    "--size 600",      "--size 6x8x9",
        "--size -6x8",    "--screens 0",         "--screens 3-2",   "--screens 1-",
        "--screens x",    "--screens 1-2 --all", "--position 1.01", "--position -0.1",
        "--position nan", "--font-size 0",       "--format gif",    "--resume --position 0"};
    for (const std::string option : refusedOptions) {
        const Result result = Run("render a.umd --out out " + option);
        EXPECT_EQ(result.status, 2) << option;
        EXPECT_EQ(result.err.substr(0, 9), "umdview: ") << option;
    }
    EXPECT_FALSE(fs::exists(m_folder / "out"));
    EXPECT_EQ(Run("render a.umd --out out --size 1x1 --position 0").status, 0);
    EXPECT_EQ(Run("render a.umd --out out --size 10000x1 --position 1.0").status, 0);
    for (const std::string command : {"", "info ", "render ", "text ", "readingdata "}) {
        EXPECT_TRUE(Contains(Run(command + "--help").out, "Usage: umdview")) << command;
        EXPECT_EQ(Run(command + "--version").out.substr(0, 8), "umdview ") << command;
        EXPECT_EQ(Run(command + "--help").status, 0) << command;
    }
}

} // namespace
