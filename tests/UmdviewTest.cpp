// What the reference host does with books, and with what it cannot use.
#include <algorithm>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <png.h>

#include "CreateFormatRenderInstance.h"
#include "tests/UmdviewFixture.h"

namespace {

using namespace umdviewtest;

TEST_F(UmdviewTest, InfoOfABookTellsItsFieldsAndKeepsControlsFromTheTerminal) {
    WriteBook(SmallBook(u"兵😀者\u2029"));
    EXPECT_EQ(Run("info book.umd").All(),
              "0|Title:      孫子  兵法 [31m\nAuthor:     孫武\nDate:       2008-3\n"
              "Genre:      -\nPublisher:  P\nVendor:     V\nChunks:     1\n"
              "Declared:   10 bytes of text\nActual:     10 bytes of text, 4 characters\n"
              "Blocks:     1 of 128 bytes\nPlace:      -\nChapters:   1\n   1    0.0 %  一\n|");
    EXPECT_EQ(Json("info --json book.umd"), nlohmann::json::parse(R"({"file": "book.umd",
        "title": "孫子\u009b兵法\u001b[31m", "author": "孫武", "genre": null, "publisher": "P",
        "vendor": "V", "date": {"year": "2008", "month": "3", "day": null}, "chunks": 1,
        "damagedChunks": [], "declaredBytes": 10, "actualBytes": 10, "actualCharacters": 4,
        "lengthsAgree": true, "blocks": 1, "blockBytes": 128, "place": null, "warnings": [],
        "chapters": [{"title": "一", "textOffset": 0,
                      "place": {"percent": 0.0, "block": 0, "offset": 0}}]})"));
    EXPECT_FALSE(Exists("book.umd.qvp"));
}

TEST_F(UmdviewTest, ChapterTableThatLiesIsToldAsFarAsItMakesSense) {
    const std::string utf16 = "\x75\x51\x3D\xD8\x00\xDE"s + std::string(250, '\1'); // 兵😀āā...
    // In order, inside a pair, inside a unit, before the text, in the second block, at the first
    // byte after the text that is there, and as far off as can be.
    const std::vector<int> offsets = {0, 4, 7, -6, 130, 256, 0x7FFFFFFF};
    Write("book.umd", BookOfChunks({utf16.substr(0, 3), utf16.substr(3)}, 384, offsets));
    EXPECT_EQ(Json("info --json book.umd")["chapters"], nlohmann::json::parse(R"([
        {"title": "0", "textOffset": 0, "place": {"percent": 0.0, "block": 0, "offset": 0}},
        {"title": "1", "textOffset": 4, "place": {"percent": 0.0, "block": 0, "offset": 3}},
        {"title": "2", "textOffset": 7, "place": {"percent": 0.0, "block": 0, "offset": 7}},
        {"title": "3", "textOffset": -6, "place": null},
        {"title": "4", "textOffset": 130, "place": {"percent": 50.0, "block": 1, "offset": 2}},
        {"title": "5", "textOffset": 256, "place": null},
        {"title": "6", "textOffset": 2147483647, "place": null}])"));
    EXPECT_TRUE(Contains(Run("info book.umd").out, "\nChapters:   7\n   1    0.0 %  0\n"));
    EXPECT_TRUE(Contains(Run("info book.umd").out, "\n   5   50.0 %  4\n   6     -     5\n"));
}

TEST_F(UmdviewTest, BookThatLiesAboutItsLengthIsWarnedOfAndDrawnAsFarAsItGoes) {
    const int actual = static_cast<int>(LongText().size()) * 2;
    const std::tuple<int, int, std::string> cases[] = {
        {actual + 30000, 1, "the last screens cannot be shown"},
        {actual / 4 * 2, 0, "what is more is not shown"},
        {-8, 1, "nothing of it can be shown"}};
    for (const auto& [declared, status, warning] : cases) {
        umdbook::Options options;
        options.declaredLength = declared;
        WriteBook(SmallBook(LongText()), options);
        const Result info = Run("info --json book.umd");
        EXPECT_EQ(nlohmann::json::parse(info.out)["lengthsAgree"], false);
        EXPECT_TRUE(info.status == 0 && Contains(info.err, warning)) << warning;
        EXPECT_EQ(Draw("out", "--all").status, status);
    }
}

TEST_F(UmdviewTest, RenderOfAScreenIsDarkInkOnWhiteAndTheSameInBothFormats) {
    Run("render book.umd --out deep/out --size 300x201 --screens 7");
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    const std::string path = (m_Folder / "deep/out/screen-0007.png").string();
    ASSERT_TRUE(png_image_begin_read_from_file(&image, path.c_str()));
    image.format = PNG_FORMAT_GRAY;
    std::string pixels(PNG_IMAGE_SIZE(image), '\0');
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
    EXPECT_GT(std::count(pixels.begin(), pixels.end(), '\xFF'), 300 * 201 / 2);
    Draw("pgm", "--size 300x201 --screens 7");
    EXPECT_TRUE(Screen("pgm", 7) == "P5\n300 201\n255\n" + pixels) << "PNG and PGM differ";
}

TEST_F(UmdviewTest, RenderOfARangeDrawsTheSameScreensAsRenderOfAll) {
    const std::string all = Draw("all", "--all").out;
    const int count = std::stoi(all);
    const std::string last = "screen-00" + std::to_string(count) + ".pgm)";
    const std::string end = ", the book ends at screen " + std::to_string(count) + "\n";
    EXPECT_TRUE(Contains(all, " screens drawn to all/ (screen-0001.pgm to " + last + end));
    const std::tuple<const char*, int, std::string> cases[] = {
        {"", 10, "10 screens drawn to out/ (screen-0001.pgm to screen-0010.pgm)\n"},
        {"--screens 3", 1, "1 screen drawn to out/ (screen-0003.pgm)\n"},
        {"--screens 12-999999", count - 11,
         std::to_string(count - 11) + " screens drawn to out/ (screen-0012.pgm to " + last + end},
        {"--screens 900-901", 0, "0 screens drawn to out/" + end}};
    for (const auto& [options, drawn, out] : cases) {
        fs::remove_all(m_Folder / "out");
        // On standard error stands no progress bar, because there is no terminal.
        EXPECT_EQ(Draw("out/", options).All(), "0|" + out + "|");
        int same = 0;
        for (const auto& file : fs::directory_iterator(m_Folder / "out"))
            same += Read(file.path()) == Read("all" / file.path().filename());
        EXPECT_EQ(same, drawn) << options;
    }
}

TEST_F(UmdviewTest, RenderWithoutOptionsDrawsWhatTheFactorysRendererDraws) {
    Draw("out", "--screens 1");
    QvFormat::IFormatRender* opened = nullptr;
    CreateFormatRenderInstance((m_Folder / "book.umd").c_str(), &opened);
    const std::unique_ptr<QvFormat::IFormatRender> book(opened);
    std::vector<unsigned char> pixels(600 * 800);
    EXPECT_EQ(book->DrawCurScreen({0, pixels.data(), 800, 600, 600}, 0, 0), QvFormat::QV_S_OK);
    std::string screen = "P5\n600 800\n255\n";
    for (const unsigned char pixel : pixels)
        screen += static_cast<char>(~pixel);
    EXPECT_TRUE(Screen("out", 1) == screen);
}

TEST_F(UmdviewTest, RenderWithALookChangesLettersSpacingAndMargin) {
    const auto pixels = [&](const std::string& options, std::size_t count) {
        Draw("out", "--screens 1 " + options);
        return Screen("out", 1).substr(Screen("out", 1).size() - count);
    };
    const std::string small = pixels("--size 160x260", 160 * 260);
    for (const char* look : {"--font 'fzlth 30'", "--font 'DejaVu Serif 18'", "--line-spacing 9"})
        EXPECT_FALSE(pixels(std::string("--size 160x260 ") + look, 160 * 260) == small) << look;
    std::string framed(200 * 300, '\xFF');
    for (std::size_t row = 0; row < 260; ++row)
        framed.replace((row + 20) * 200 + 20, 160, small, row * 160, 160);
    EXPECT_TRUE(pixels("--size 200x300 --margin 20 --font 'fzlth 18'", 200 * 300) == framed);
}

TEST_F(UmdviewTest, ChapterAskedForIsDrawnFromItsFirstCharacterAndWrittenToItsLast) {
    umdbook::Book book = SmallBook(LongText());
    book.chapters.push_back({u"2", u"甲乙\u2029"});
    book.chapters.push_back({u"3", u"丙\u2029" + LongText()});
    WriteBook(book);
    EXPECT_EQ(Run("text --chapter 2 book.umd").All(), "0|甲乙\n|");
    EXPECT_EQ(Run("text --raw --chapter 3 book.umd").out, umdbook::ToUtf8(book.chapters[2].text));
    EXPECT_EQ(Run("text --chapter 4 book.umd").All(),
              "1||umdview: book.umd: there is no chapter 4; the book has 3\n");
    Draw("third", "--chapter 3 --screens 2");
    WriteBook(SmallBook(book.chapters[2].text));
    Draw("alone", "--screens 2");
    EXPECT_TRUE(Screen("third", 2) == Screen("alone", 2));
    EXPECT_EQ(Draw("last", "--position 1").out,
              "1 screen drawn to last/ (screen-0001.pgm), the book ends at screen 1\n");
}

TEST_F(UmdviewTest, TextThatCannotBeShownIsPassedOverAndNamed) {
    std::u16string text = LongText();
    text.replace(64 * 100 - 1, 2, u"😀"); // across the end of block 99
    WriteBook(SmallBook(text));
    const std::string damaged = "umdview: book.umd: damaged: the character at byte 12798 lies "
                                "across two blocks: the text around it cannot be shown\n"
                                "umdview: book.umd: 128 bytes of text after screen ";
    const Result all = Draw("all", "--all");
    EXPECT_TRUE(all.status == 1 && Contains(all.err, damaged));
    EXPECT_EQ(all.err.find("after screen", damaged.size()), std::string::npos);
    // A jump into the block goes on after it.
    const double block = 99.5 / (static_cast<double>(text.size()) / 64);
    EXPECT_EQ(Draw("jump", "--screens 1 --position " + std::to_string(block)).All(),
              "1|1 screen drawn to jump/ (screen-0001.pgm)\n|" + damaged +
                  "0 could not be shown\n");
}

TEST_F(UmdviewTest, TextInChunksCutAnywhereIsWholeAndEndsParagraphsWithNewlines) {
    EXPECT_TRUE(Run("text --raw book.umd").out == umdbook::ToUtf8(LongText()));
    const std::string utf16 = "\x75\x51\x3D\xD8\x00\xDE\x29\x20\x41\x00\x00\xD8\x42\x00"s;
    for (std::size_t cut = 1; cut < utf16.size(); ++cut) {
        Write("book.umd", BookOfChunks({utf16.substr(0, cut), utf16.substr(cut)}, 14));
        // The lone half of a pair is left out.
        EXPECT_EQ(Run("text book.umd").All(), "0|兵😀\nAB|") << cut;
    }
}

TEST_F(UmdviewTest, DamagedAndCutOffChunksAreNamedAndTheTextAroundThemKept) {
    std::string book = BookOfChunks({"A\0"s, "B\0"s, "C\0"s, "D\0"s}, 8);
    const std::size_t third = book.rfind("x\x9C", book.rfind("x\x9C") - 1); // a zlib stream begins
    book[book.rfind("x\x9C", third - 1)] ^= '\x10';
    book.pop_back();
    Write("book.umd", book);
    const std::string second = "umdview: book.umd: damaged: chunk 2 of 4 cannot be read\n";
    const std::string fourth = "umdview: book.umd: damaged: chunk 4 of 4 cannot be read\n";
    EXPECT_EQ(Run("text book.umd").All(), "1|AC|" + second + fourth);
    EXPECT_EQ(Run("render book.umd --out out").All(), "1||" + second);
    EXPECT_FALSE(Exists("out"));
    const Result info = Run("info --json book.umd");
    EXPECT_EQ(info.status, 1);
    EXPECT_TRUE(Contains(info.err, second + fourth));
    EXPECT_EQ(nlohmann::json::parse(info.out)["damagedChunks"], nlohmann::json({1, 3}));
}

TEST_F(UmdviewTest, WhatCannotBeReadOrWrittenGivesNameReasonStatus1AndNoHalfImage) {
    Write("empty", "");
    Write("words", "Just some words in a row.");
    Write("untold", BookOfChunks({}, 500));
    Write("short.qvp", "QVP\1");
    Write("No reading data.");
    const std::string limit = "trap '' XFSZ; ulimit -f 20;"; // some kilobytes a file
    const std::vector<std::string> book = {"info ", "text ", "render --out out "};
    const std::vector<std::string> data = {"readingdata "};
    const std::vector<std::string> render = {"render book.umd --out out "};
    const struct {
        std::vector<std::string> commands;
        std::string rest, reason, before{}; // none by default
    } cases[] = {{book, "missing", "missing: No such file or directory"},
                 {book, ".", ".: Is a directory"},
                 {book, "/dev/null", "/dev/null: not a regular file"},
                 {book, "empty", "empty: the file is empty"},
                 {book, "words", "words: not a UMD book"},
                 {book, "untold", "untold: damaged: it declares 500 bytes of text but holds none"},
                 {data, "missing", "missing: No such file or directory"},
                 {data, "words", "words: not a reading-data file, and there is no words.qvp"},
                 {data, "book.umd", "book.umd.qvp: not a reading-data file"},
                 {data, "short.qvp", "short.qvp: damaged: its header is cut off"},
                 {{"render --resume --out out "}, "missing", "missing: No such file or directory"},
                 {{"render --resume --out out "}, "words", "words: not a UMD book"},
                 {{"render --out words/out "}, "book.umd", "words/out: Not a directory"},
                 {{"text "}, "book.umd >/dev/full", "standard output: No space left on device"},
                 {render, "", "out/screen-0001.png: File too large", limit},
                 {render, "--format pgm", "out/screen-0001.pgm: File too large", limit}};
    for (const auto& row : cases) {
        for (const std::string& command : row.commands)
            EXPECT_EQ(Run(command + row.rest, row.before).All(),
                      "1||umdview: " + row.reason + "\n");
    }
    EXPECT_TRUE(fs::is_empty(m_Folder / "out"));
    EXPECT_FALSE(Exists("missing.qvp") || Exists("words.qvp"));
}

TEST_F(UmdviewTest, ClosedPipeEndsQuietly) {
    WriteBook(umdbook::Repeated(SmallBook(LongText()), 1000000));
    EXPECT_EQ(Run("text book.umd; echo $? > status) | head -c 5", "(").All(), "0|1. 0 |");
    EXPECT_EQ(Read("status"), "0\n");
}

TEST_F(UmdviewTest, CommandLineThatMakesNoSenseGivesStatus2AndHelpStatus0) {
    const std::string render = "render book.umd --out out ";
    for (const std::string arguments : {"", "draw book.umd", "info", "info book.umd b", "render x"})
        EXPECT_EQ(Run(arguments).status, 2) << arguments;
    const char* refused[] = {
        "--size 0x800",   "--size 600x10001",    "--size 600",      "--size 6x8x9",
        "--size -6x8",    "--screens 0",         "--screens 3-2",   "--screens 1-",
        "--screens x",    "--screens 1-2 --all", "--position 1.01", "--position -0.1",
        "--position nan", "--font Serif",        "--format gif",    "--resume --position 0",
        "--margin 300",   "--margin -1",         "--chapter 0",     "--chapter 1 --resume"};
    for (const std::string option : refused) {
        const Result result = Run(render + option);
        EXPECT_EQ(result.status, 2) << option;
        EXPECT_EQ(result.err.substr(0, 9), "umdview: ") << option;
    }
    EXPECT_FALSE(Exists("out"));
    EXPECT_EQ(Run(render + "--size 10000x1 --position 1").status, 0);
    for (const std::string command : {"", "info ", "render ", "text ", "readingdata "}) {
        const Result help = Run(command + "--help");
        EXPECT_EQ(help.status, 0) << command;
        EXPECT_TRUE(Contains(help.out, "Usage: umdview")) << command;
        EXPECT_EQ(Run(command + "--version").out.substr(0, 8), "umdview ") << command;
    }
}

} // namespace
