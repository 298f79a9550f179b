// The reading window as a person uses it, on a virtual display. What it shows is compared with what
// the library draws; a picture of each step is kept in out/umdread.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include <gtest/gtest.h>

#include "Desktop.h"
#include "base/CFileStream.h"
#include "common/Failure.h"
#include "layout/CPangoLayout.h"
#include "render/CUMDRenderImpl.h"
#include "session/Session.h"
#include "tools/UmdBookWriter.h"

namespace {

namespace fs = std::filesystem;
using desktop::Hand;
using desktop::Program;

const fs::path out = TEST_OUT;

class WindowTest : public testing::Test {
protected:
    WindowTest() : m_display(1700, 1100) {
        std::string folder = (fs::temp_directory_path() / "umdread-XXXXXX").string();
        m_home = mkdtemp(folder.data());
    }
    ~WindowTest() override { fs::remove_all(m_home); }

    std::string MakeBook(const std::string& sample, std::size_t repeatTo = 0) const {
        std::ifstream file(TEST_SAMPLES "/" + sample + ".txt");
        umdbook::Book book = umdbook::BookFromText({std::istreambuf_iterator<char>(file), {}});
        if (repeatTo > 0)
            book = umdbook::Repeated(book, repeatTo);
        const umdbook::Bytes bytes = umdbook::WriteBook(book);
        std::string path = (m_home / (sample + ".umd")).string();
        std::ofstream(path, std::ios::binary) << std::string(bytes.begin(), bytes.end());
        return path;
    }
    void Set(const std::string& settings) const {
        fs::create_directories(m_home / "config/umdread");
        std::ofstream(m_home / "config/umdread/settings.ini") << settings;
    }

    desktop::Display m_display;
    fs::path m_home;
};

void Press(Program& window, const std::string& key) {
    ASSERT_TRUE(window.AwaitAnswer(key)) << key << window.Errors();
}

// The page's coverage as the library draws it for the place, size and font of a frame.
std::vector<unsigned char> Coverage(const std::string& book, const desktop::Frame& frame) {
    const std::vector<int> box = desktop::Numbers(frame.at("text"));
    const int size = std::stoi(frame.at("font").substr(frame.at("font").rfind(' ')));
    auto* layout =
        new QvFormat::CPangoLayout(frame.at("font").c_str(), static_cast<unsigned int>(box[2]),
                                   static_cast<unsigned int>(box[3]), 72, 72);
    layout->SetWrap(QvFormat::QVLayoutWrapWordChar);
    QvFormat::CUMDRenderImpl render;
    std::string none;
    render.Initialize(
        new QvFormat::CFileStream(reinterpret_cast<const unsigned char*>(book.c_str()),
                                  QvFormat::FileOpenRead),
        layout, none.data());
    const umdread::Settings settings;
    layout->SetLineSpacing(static_cast<unsigned int>(size * settings.spacing / 100));
    layout->SetIndent(size * settings.indent);
    layout->SetJustify(settings.justified);
    render.SetScreenRes(static_cast<unsigned int>(box[2]), static_cast<unsigned int>(box[3]));
    const std::vector<int> numbers = desktop::Numbers(frame.at("place"));
    render.UmdSetText(numbers[0], numbers[1]);
    std::vector<unsigned char> coverage(static_cast<std::size_t>(box[2] * box[3]));
    render.DrawCurScreen({0, coverage.data(), box[3], box[2], box[2]}, 0, 0);
    return coverage;
}

// As Cairo mixes ink into paper.
int Mixed(int ink, int paper, int coverage) {
    const auto part = [](int a, int b) {
        const int t = a * b + 128;
        return (t + (t >> 8)) >> 8;
    };
    return part(ink, coverage) + part(paper, 255 - coverage);
}

// How many pixels of the text differ from what the library draws, and how much ink there is.
void ExpectThePage(const std::string& book, const desktop::Frame& frame, int scale = 1) {
    constexpr int ink[] = {0x22, 0x21, 0x1f};
    constexpr int paper[] = {0xfc, 0xfb, 0xf8};
    const desktop::Picture picture = desktop::Shot();
    const std::vector<int> at = desktop::Numbers(frame.at("at"));
    const std::vector<int> box = desktop::Numbers(frame.at("text"));
    const std::vector<unsigned char> coverage = Coverage(book, frame);
    int wrong = 0;
    int inked = 0;
    for (int y = 0; y < box[3]; ++y) {
        for (int x = 0; x < box[2]; ++x) {
            const int covered = coverage.begin()[y * box[2] + x];
            const int row = at[1] * scale + box[1] + y;
            const int column = at[0] * scale + box[0] + x;
            const auto pixel =
                static_cast<std::size_t>(row) * static_cast<std::size_t>(picture.width) +
                static_cast<std::size_t>(column);
            inked += covered > 127;
            for (std::size_t c = 0; c < 3; ++c)
                wrong += static_cast<unsigned char>(picture.bytes.at(3 * pixel + c)) !=
                         Mixed(ink[c], paper[c], covered);
        }
    }
    EXPECT_EQ(wrong, 0) << "of " << box[2] * box[3] << " pixels at " << frame.at("place");
    EXPECT_GT(inked, 1000);
}

TEST_F(WindowTest, APersonReadsABook) {
    const std::string book = MakeBook("alice", 300000);
    std::string lastPlace;
    {
        Program window(m_home, {book});
        ASSERT_TRUE(window.AwaitField("place", "0:0")) << window.Errors();
        desktop::Keep(out / "1-opened.png");
        ExpectThePage(book, window.Last());
        for (int i = 0; i < 10; ++i)
            Press(window, i % 2 == 0 ? "Right" : "space");
        const std::string tenth = window["place"];
        desktop::Keep(out / "2-turned.png");
        ExpectThePage(book, window.Last());

        ASSERT_TRUE(
            window.AwaitDrawn([] { Hand("windowsize " + desktop::WindowId() + " 700 840"); }));
        EXPECT_EQ(window["place"], tenth);
        desktop::Keep(out / "3-resized.png");
        ExpectThePage(book, window.Last());

        Press(window, "ctrl+plus");
        Press(window, "ctrl+plus");
        EXPECT_EQ(window["place"], tenth);
        desktop::Keep(out / "4-larger.png");
        ExpectThePage(book, window.Last());

        // The third chapter of the contents, by the pointer.
        ASSERT_TRUE(
            window.AwaitDrawn([] { Hand("windowsize " + desktop::WindowId() + " 1100 900"); }));
        Press(window, "F9");
        desktop::Keep(out / "5-contents.png");
        ASSERT_TRUE(window.AwaitDrawn([] { Hand("mousemove 120 195 click 1"); }));
        const std::string chapter = window["place"];
        EXPECT_NE(chapter, tenth);
        desktop::Keep(out / "6-chapter.png");
        ExpectThePage(book, window.Last());

        Hand("key ctrl+f");
        Hand("type rabbit-hole");
        Press(window, "Return"); // also while the search goes on
        EXPECT_EQ(window["hits"], "21");
        Press(window, "Return");
        EXPECT_NE(window["place"], chapter);
        desktop::Keep(out / "7-found.png");
        Press(window, "Escape");
        Press(window, "alt+Left");
        Hand("key ctrl+g");
        Hand("type 50");
        Press(window, "Return");
        const std::string half = window["place"];
        Press(window, "space"); // the page has the focus again, not the button of the entry
        EXPECT_NE(window["place"], half);
        Press(window, "alt+Left");
        Hand("key ctrl+d");
        ASSERT_TRUE(window.AwaitField("bookmarks", "1"));
        desktop::Keep(out / "8-bookmarked.png");
        for (int i = 0; i < 15; ++i)
            Hand("key --delay 5 Left Right Left"); // three within the interval of a frame
        Hand("key Home");
        ASSERT_TRUE(window.AwaitField("place", "0:0"));
        EXPECT_EQ(window.PreparedEarly(), 0);
        for (int i = 0; i < 20; ++i)
            Press(window, "Next");
        lastPlace = window["place"];
        window.Signal(SIGKILL);
        EXPECT_EQ(window.Wait(), 128 + SIGKILL);
        EXPECT_EQ(window.Errors(), "");
    }
    Program window(m_home, {book});
    EXPECT_TRUE(window.AwaitField("place", lastPlace)) << window.Errors();
    EXPECT_EQ(window["bookmarks"], "1");
    desktop::Keep(out / "9-reopened.png");
    ExpectThePage(book, window.Last());
    window.Signal(SIGTERM);
    EXPECT_EQ(window.Wait(), 0);
    EXPECT_EQ(window.Errors(), "");
}

TEST_F(WindowTest, LettersAreSharpOnADenseScreen) {
    const std::string book = MakeBook("art-of-war");
    Set("[Window]\nwidth=600\nheight=500\n");
    Program window(m_home, {book}, {"GDK_SCALE=2"});
    ASSERT_TRUE(window.AwaitField("place", "0:0")) << window.Errors();
    desktop::Keep(out / "dense.png");
    ExpectThePage(book, window.Last(), 2);
    EXPECT_EQ(window.Errors(), "");
}

// Also makes the picture in the README.
TEST_F(WindowTest, ChineseBookStandsBesideItsContents) {
    const std::string book = MakeBook("art-of-war");
    Set("[Window]\nwidth=1000\nheight=720\n");
    Program window(m_home, {book});
    ASSERT_TRUE(window.AwaitField("place", "0:0")) << window.Errors();
    Press(window, "F9");
    Press(window, "Right");
    Hand("key ctrl+d");
    ASSERT_TRUE(window.AwaitField("bookmarks", "1"));
    desktop::Keep(out / "umdread.png");
    ExpectThePage(book, window.Last());
    window.Signal(SIGTERM);
    EXPECT_EQ(window.Wait(), 0);
    EXPECT_TRUE(umdread::LoadSettings((m_home / "config/umdread").string()).panel);
    EXPECT_EQ(window.Errors(), "");
}

TEST_F(WindowTest, FailuresAreSaidInChinese) {
    const std::string book = (m_home / "book.umd").string();
    fs::copy_file(TEST_FUZZ_SEEDS "/truncated-in-chunk.umd", book);
    Program window(m_home, {book}, {"LANGUAGE=zh_CN"});
    EXPECT_TRUE(
        window.AwaitField("notice", "无法打开“book.umd”：文件已损坏：无法读取第 1 块（共 1 块）。"))
        << window["notice"];
    desktop::Keep(out / "chinese.png");
    EXPECT_EQ(window.Errors(), "");
}

TEST_F(WindowTest, HostileBooksGetAMessageEach) {
    std::vector<std::string> books;
    std::set<std::string> refused;
    for (const auto& seed : fs::directory_iterator(TEST_FUZZ_SEEDS)) {
        books.push_back((m_home / seed.path().filename()).string());
        fs::copy_file(seed.path(), books.back());
        try {
            umdread::Session(books.back(), umdread::Settings());
        } catch (const umdhost::Failure&) {
            refused.insert(seed.path().filename().string());
        }
    }
    Program window(m_home, books);
    std::set<std::string> windows;
    std::set<std::string> named;
    EXPECT_TRUE(window.Await([&](const desktop::Frame& frame) {
        const auto notice = frame.find("notice");
        if (frame.count("place") > 0 || notice != frame.end())
            windows.insert(frame.at("window"));
        if (notice != frame.end() && notice->second.find("cannot be opened") != std::string::npos)
            named.insert(notice->second.substr(3, notice->second.find("”") - 3));
        return windows.size() == books.size();
    })) << window.Errors();
    EXPECT_EQ(named, refused);
    window.Signal(SIGTERM);
    EXPECT_EQ(window.Wait(), 0);
    EXPECT_EQ(window.Errors(), "");
}

// --- measures -----------------------------------------------------------------------------------

long ResidentKilobytes(pid_t id) {
    std::ifstream status("/proc/" + std::to_string(id) + "/status");
    for (std::string word; status >> word;) {
        long size = 0;
        if (word == "VmRSS:" && status >> size)
            return size;
    }
    return 0;
}

// Prints the median and the 99th percentile of what turns took.
void Print(const std::string& what, std::vector<int> microseconds) {
    std::sort(microseconds.begin(), microseconds.end());
    std::printf("%s: median %.1f ms, 99th percentile %.1f ms\n", what.c_str(),
                microseconds.at(microseconds.size() / 2) / 1000.0,
                microseconds.at(microseconds.size() * 99 / 100) / 1000.0);
}

TEST_F(WindowTest, Measures) {
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const std::string book = MakeBook("alice", 2000000);
    const auto start = Clock::now();
    Program window(m_home, {book});
    ASSERT_TRUE(window.AwaitField("place", "0:0"));
    const Milliseconds first = Clock::now() - start;
    const long opened = ResidentKilobytes(window.Id());
    const auto turn = [&](const std::string& key, bool prepared, const std::string& what) {
        std::vector<int> time;
        std::vector<int> cpu;
        for (int i = 0; i < 300; ++i) {
            if (prepared) {
                ASSERT_TRUE(window.AwaitField("prepared", "1"));
            }
            Press(window, key);
            time.push_back(std::stoi(window["us"]));
            cpu.push_back(std::stoi(window["cpu"]));
        }
        Print(what + ", key press to frame", time);
        Print(what + ", processor time", cpu);
    };
    turn("Right", true, "300 turns on, with time between them");
    turn("Left", false, "300 turns back, one upon the other");
    umdread::Session session(book, umdread::Settings());
    const auto searching = Clock::now();
    session.StartSearch("rabbit");
    while (session.StepSearch())
        ;
    const Milliseconds search = Clock::now() - searching;
    std::printf("From start to the first page: %.0f ms\n"
                "Search of a 2 MB book: %.1f ms\n"
                "Resident with the book open: %ld KB, after 600 turns: %ld KB\n",
                first.count(), search.count(), opened, ResidentKilobytes(window.Id()));
}

} // namespace
