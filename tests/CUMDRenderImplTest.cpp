// The renderer object: its contract towards the application, who owns what, and the way from chunks
// to laid-out text.
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <malloc.h>

#include <gtest/gtest.h>

#include "CreateFormatRenderInstance.h"
#include "ITextCustomizer.h"
#include "RenderFixture.h"
#include "base/CMemoryStream.h"
#include "base/Handles.h"
#include "base/LittleEndian.h"
#include "layout/LayoutRegistry.h"
#include "render/CUmdCustomizer.h"

using namespace QvFormat;
using namespace fixture;

namespace {

// Streams and layouts that are alive.
int alive = 0;

class CountedStream : public CMemoryStream {
public:
    CountedStream(const umdbook::Bytes& bytes)
        : CMemoryStream(Copy(bytes), static_cast<long>(bytes.size())) {
        ++alive;
    }
    ~CountedStream() override { --alive; }
};

// Lines of 10 bytes and given heights, without fonts.
class LinesLayout : public CPangoLayout {
public:
    explicit LinesLayout(std::vector<int> lineHeights = {})
        : CPangoLayout("fzlth 18", 600, 100, 72, 72), heights(std::move(lineHeights)) {
        ++alive;
    }
    ~LinesLayout() override { --alive; }
    int GetLayoutRect(unsigned int* width, unsigned int* height) override {
        return rectAnswers-- > 0 ? CPangoLayout::GetLayoutRect(width, height) : 0;
    }
    int GetLineSpacing(unsigned int* pixels) override {
        return reportsSpacing ? CPangoLayout::GetLineSpacing(pixels) : 0;
    }
    int GetLineTable(QVLayoutLineInfo** table, unsigned int* count) override {
        *table = nullptr;
        if (heights.empty())
            return answersWithoutLines;
        *count = static_cast<unsigned int>(heights.size());
        *table = new QVLayoutLineInfo[heights.size()];
        for (std::size_t i = 0; i < heights.size(); ++i)
            (*table)[i] = {static_cast<int>(10 * i), heights[i]};
        return 1;
    }

    std::vector<int> heights;
    int rectAnswers = 1000;
    bool reportsSpacing = true;
    int answersWithoutLines = 0;
};

char path[] = "/nonexistent/book.umd";

TEST(RendererTest, OperationsBeforeInitializeAnswerAndChangeNothing) {
    ProbeRender render;
    unsigned int size = 7;
    int level = 7;
    unsigned char pixel = 7;
    ITextCustomizer* customizer = nullptr;
    EXPECT_EQ(render.SetScreenRes(0, 800), QV_S_OK);
    EXPECT_EQ(render.GetScreenRes(&size, &size), QV_S_OK);
    EXPECT_EQ(render.GotoNextScreen(), QV_E_NOTREADY);
    EXPECT_EQ(render.GotoPrevScreen(), QV_E_NOTREADY);
    EXPECT_EQ(render.GotoPosition(0.5f), QV_E_FAIL);
    EXPECT_EQ(render.DrawCurScreen({0, &pixel, 1, 1, 1}, 0, 0), QV_S_OK);
    EXPECT_EQ(render.GetTextCustomizer(&customizer), QV_S_OK);
    EXPECT_EQ(render.GetBoldLevel(&level), QV_E_NOTIMPL);
    EXPECT_EQ(render.GetNextPageLineNum(0), -1);
    EXPECT_EQ(render.GetLineNumByOffset(5), -2);
    EXPECT_EQ(render.CreatUmdNodeIndexList(), 0);
    EXPECT_EQ(render.UmdSetText(0, 0), 0);
    EXPECT_EQ(render.GotoReadableScreen(0, 1, &level), QV_E_NOTREADY);
    EXPECT_EQ(render.GetCurPosition(&level, &level), 0);
    EXPECT_EQ(render.GetBlockCount(), 0);
    EXPECT_EQ(customizer, nullptr);
    EXPECT_EQ(size + static_cast<unsigned int>(level) + pixel, 21u);
}

TEST(RendererTest, InitialisedRendererAnswersAsItsInterfaceSays) {
    const auto render = OpenText(u"text");
    unsigned int width = 0, height = 0;
    EXPECT_EQ(render->GetScreenRes(&width, &height), 1);
    EXPECT_EQ(width * 1000 + height, 600800u);
    EXPECT_EQ(render->SetScreenRes(0, 800) & render->SetScreenRes(600, 0), QV_E_INVALIDARG);
    EXPECT_EQ(render->SetBoldLevel(1) & render->GetTOCMarks(nullptr, nullptr), QV_E_NOTIMPL);
    EXPECT_EQ(render->GetPagingHandler(nullptr), QV_E_NOTIMPL);
    IFormatRender* page = render.get();
    EXPECT_EQ(render->GetTextRenderForCurPage(&page), QV_E_NOTIMPL);
    EXPECT_EQ(page, nullptr);
    EXPECT_EQ(render->GetTextRenderForCurPage(nullptr), QV_E_NOTIMPL);
    EXPECT_EQ(render->GotoNextScreen() & render->GotoPrevScreen(), QV_E_FAIL) << "nothing laid out";
}

TEST(RendererTest, CustomizersStoreFontsAndSetTheIndent) {
    const auto render = OpenText(u"text");
    ITextCustomizer* made[2] = {};
    EXPECT_EQ(render->GetTextCustomizer(nullptr), QV_E_POINTER);
    EXPECT_EQ(render->GetTextCustomizer(&made[0]) | render->GetTextCustomizer(&made[1]), QV_S_OK);
    const std::unique_ptr<ITextCustomizer> first(made[0]), second(made[1]);
    EXPECT_NE(made[0], made[1]);
    int indents[3] = {};
    render->m_pLayout->GetIndent(&indents[0]);
    EXPECT_EQ(first->SetFontSize(25), QV_S_OK);
    render->m_pLayout->GetIndent(&indents[1]);
    EXPECT_EQ(second->SetFontSize(UINT_MAX), QV_S_OK);
    render->m_pLayout->GetIndent(&indents[2]);
    EXPECT_EQ(indents[0] * 1000 + indents[1], 36050);
    EXPECT_GT(indents[2], 0);
    EXPECT_EQ(first->SetChineseFont(nullptr) & first->SetEnglishFont(nullptr), QV_E_INVALIDARG);
    EXPECT_EQ(first->SetChineseFont(""), QV_S_OK);
    EXPECT_EQ(render->SetFontDescription(), 0) << "no Chinese font yet";
    EXPECT_EQ(first->SetChineseFont("Song"), QV_S_OK);
    EXPECT_EQ(render->SetFontDescription(), 1);
    CUmdCustomizer orphan(nullptr);
    EXPECT_EQ(orphan.SetChineseFont("Song"), QV_E_NOTREADY);
    EXPECT_EQ(orphan.SetEnglishFont(nullptr) & orphan.SetFontSize(1), QV_E_NOTREADY);
}

// Every way through Initialize releases stream and layout exactly once.
TEST(RendererTest, InitializeOwnsWhatItAccepted) {
    const umdbook::Bytes good = TextBook(u"text");
    umdbook::Bytes broken = TextBook(std::u16string(5000, u'x'));
    broken[broken.size() / 2] ^= 0x55;
    struct {
        const char* what;
        umdbook::Bytes book;
        bool withLayout;
        QVRESULT result;
    } const rows[] = {
        {"good", good, true, QV_S_OK},
        {"no layout", good, false, QV_E_FAIL},
        {"not a book", umdbook::Bytes(20, 'x'), true, QV_E_FAIL},
        {"no text", TextBook(u""), true, QV_E_FAIL},
        {"negative length", TextBook(u"x", {2, false, false, false, -5}), true, QV_E_FAIL},
        {"length near 2 GiB", TextBook(u"x", {2, false, false, false, INT_MAX - 126}), true,
         QV_E_FAIL},
        {"length below 2 GiB", TextBook(u"x", {2, false, false, false, INT_MAX - 127}), true,
         QV_S_OK},
        {"damaged chunk", broken, true, QV_E_FAIL},
    };
    ProbeRender render;
    for (const auto& row : rows) {
        auto* layout = row.withLayout ? new LinesLayout : nullptr;
        EXPECT_EQ(render.Initialize(new CountedStream(row.book), layout, path), row.result)
            << row.what;
        EXPECT_EQ(render.GotoNextScreen(), row.result == QV_S_OK ? QV_E_FAIL : QV_E_NOTREADY);
        EXPECT_EQ(alive, row.withLayout ? 2 : 1) << row.what;
    }
    EXPECT_EQ(render.Initialize(nullptr, new LinesLayout, path), QV_E_FAIL);
    EXPECT_EQ(alive, 1);
    const auto stream = std::make_unique<CountedStream>(good);
    EXPECT_EQ(render.Initialize(stream.get(), nullptr, nullptr), QV_E_INVALIDARG);
    EXPECT_EQ(alive, 2) << "nothing was taken over or released";
}

// With more chunks than the first, whose offsets were kept in a smaller table.
TEST(RendererTest, SecondBookStartsAfreshButKeepsTheFontSize) {
    const auto render = Open(TextBook(Novel(60000)));
    render->SetFontSize(30);
    DrawText(*render);
    render->GotoNextScreen();
    auto* layout = new CountingLayout("fzlth 18", 600, 800, 72, 72);
    const umdbook::Bytes second = TextBook(u"second " + Novel(60000), {128, true, true, true, {}});
    EXPECT_EQ(render->Initialize(NewStream(second), layout, path), QV_S_OK);
    EXPECT_GE(malloc_usable_size(render->m_pChunkOffsets.get()), 60000 / 128 * sizeof(int));
    int indent = 0;
    layout->GetIndent(&indent);
    EXPECT_EQ(indent, 60);
    EXPECT_EQ(render->GotoNextScreen(), QV_E_FAIL) << "nothing is laid out yet";
    EXPECT_EQ(DrawText(*render).substr(0, 7), "second ");
}

// A host's class may be compiled without run-time type information, which then misses before its
// virtual table. A layout that is not the library's own is asked for nothing but its slots.
TEST(RendererTest, LayoutWithoutTypeInformationIsAskedForItsSlotsOnly) {
    if (dlsym(RTLD_DEFAULT, "__ubsan_handle_dynamic_type_cache_miss"))
        GTEST_SKIP() << "this sanitizer reads the type information of every object";
    for (const bool foreign : {false, true}) {
        auto* layout = new CountingLayout("fzlth 18", 600, 800, 72, 72);
        void** slots = *reinterpret_cast<void***>(layout);
        std::array<void*, 32> table{}; // two words before the slots, 25 slots
        std::copy_n(slots - 2, 27, table.begin());
        table[1] = nullptr;
        *reinterpret_cast<void***>(layout) = &table[2];
        if (foreign)
            UnregisterLayout(layout);
        ProbeRender render;
        ASSERT_EQ(render.Initialize(NewStream(TextBook(std::u16string(6000, u'字'))), layout, path),
                  QV_S_OK);
        EXPECT_EQ(render.UmdSetText(5, 0), 1);
        EXPECT_EQ(render.m_pLineTable[1].offset, foreign ? 31 * 3 : 33 * 3)
            << "a first-line indent";
        *reinterpret_cast<void***>(layout) = slots;
    }
}

class FactoryTest : public testing::Test {
protected:
    QVRESULT Make(const umdbook::Bytes& book) {
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(book.data()), static_cast<long>(book.size()));
        IFormatRender* made = nullptr;
        const QVRESULT result = CreateFormatRenderInstance(file.c_str(), &made);
        render.reset(made);
        return result;
    }
    ~FactoryTest() override {
        render.reset();
        std::remove(file.c_str());
        std::remove((file + ".qvp").c_str());
    }

    const std::string file = testing::TempDir() + "factory-test.umd";
    std::unique_ptr<IFormatRender> render;
};

TEST_F(FactoryTest, OpensAFileAndRefusesWhatIsNoBook) {
    IFormatRender* made = nullptr;
    EXPECT_EQ(CreateFormatRenderInstance(nullptr, &made), QV_E_POINTER);
    EXPECT_EQ(CreateFormatRenderInstance(file.c_str(), nullptr), QV_E_POINTER);
    ASSERT_EQ(Make(TextBook(u"text")), QV_S_OK);
    EXPECT_EQ(DrawText(*render), "text");
    EXPECT_EQ(Make(umdbook::Bytes(100, 'x')), QV_E_FAIL);
    EXPECT_EQ(render, nullptr);
    for (const std::string& bad : {file + "-missing", testing::TempDir()}) {
        made = reinterpret_cast<IFormatRender*>(&made);
        EXPECT_EQ(CreateFormatRenderInstance(bad.c_str(), &made), QV_E_FAIL) << bad;
        EXPECT_EQ(made, nullptr);
        std::remove((bad + ".qvp").c_str());
    }
}

// A word longer than a line goes on in the next one.
TEST_F(FactoryTest, NoScreenHasInkCutOffAtItsRightEdge) {
    ASSERT_EQ(Make(TextBook(u"http://" + std::u16string(900, u'w') + u"\u2029" + Novel(20000) +
                            std::u16string(2000, u'k') + Novel(20000))),
              QV_S_OK);
    int screens = 0;
    do {
        std::vector<unsigned char> pixels(600 * 800);
        render->DrawCurScreen({0, pixels.data(), 800, 600, 600}, 0, 0);
        for (std::size_t row = 0; row < 800; ++row)
            ASSERT_EQ(pixels[row * 600 + 599], 0) << "row " << row << " of screen " << screens;
        ++screens;
    } while (render->GotoNextScreen() == QV_S_OK);
    EXPECT_GT(screens, 10);
}

// --- from chunks to text ------------------------------------------------------------------------

TEST(ContentTest, SegmentsCoverTheBookWhateverTheChunks) {
    const struct {
        std::size_t units, chunkBytes;
    } rows[] = {{5121, 10240}, {65, 2}, {20000, 1000}, {20000, 32768}};
    for (const auto& row : rows) {
        const std::u16string text = Novel(row.units * 2);
        const auto render = Open(TextBook(text, {row.chunkBytes, true, true, true, {}}));
        const int bytes = static_cast<int>(row.units * 2);
        const int blocks = (bytes + 127) / 128;
        int length = 5;
        EXPECT_EQ(render->GetBlockContent(-1, &length), nullptr);
        EXPECT_EQ(render->GetBlockContent(blocks, &length), nullptr);
        EXPECT_EQ(length, 5);
        for (int block = 0; block < blocks; ++block) {
            const MallocPtr<unsigned char> content(render->GetBlockContent(block, &length));
            ASSERT_TRUE(content);
            ASSERT_EQ(length, blocks - block > 80 ? 10240 : bytes - block * 128);
            const auto expected = text.substr(static_cast<std::size_t>(block) * 64, 5120) + u'\0';
            for (std::size_t i = 0; i * 2 <= static_cast<std::size_t>(length); ++i)
                ASSERT_EQ(LoadLE16(&content.get()[i * 2]), expected[i]) << block << ' ' << i;
        }
    }
}

TEST(ContentTest, ChunksShorterThanDeclaredFailTheirSegmentsOnly) {
    const auto render = Open(TextBook(Novel(20000), {32768, true, true, true, 30000}));
    EXPECT_EQ(render->GotoPosition(0.0f), QV_S_OK);
    const std::string first = DrawText(*render);
    EXPECT_EQ(render->GotoPosition(0.9f), QV_E_FAIL);
    EXPECT_EQ(DrawText(*render), first) << "a failed load leaves the screen as it was";
    const auto empty = Open(TextBook(u"", {32768, true, true, true, 300}));
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->GotoPosition(0.0f), QV_E_FAIL) << "text declared, but no chunks";
    EXPECT_EQ(DrawText(*empty), "");
}

// Half a unit is no text.
TEST(ContentTest, OddByteAtTheEndIsLeftOut) {
    for (const int length : {255, 257}) {
        const auto render =
            Open(TextBook(u"even" + std::u16string(200, u'x'), {32768, true, true, true, length}));
        EXPECT_EQ(DrawText(*render), "even" + std::string(std::size_t(length) / 2 - 4, 'x'));
        int bytes = 0;
        const MallocPtr<unsigned char> content(render->GetBlockContent(0, &bytes));
        EXPECT_EQ(bytes, length);
        EXPECT_EQ(render->GotoPosition(1.0f), QV_S_OK);
        EXPECT_EQ(render->GotoPrevScreen(), QV_S_OK) << "from a last block of one byte, too";
        EXPECT_NE(DrawText(*render), "");
    }
}

TEST(ContentTest, CharacterCutByABlockFailsTheLoadAndLeavesTheTables) {
    std::u16string text = Novel(40000);
    text.replace(64 * 200 - 1, 2, u"\U0001F600");
    const auto render = OpenText(text);
    DrawText(*render);
    const auto offsets = [&render] {
        return std::vector<int>(&render->m_pBlockOffsets[0], &render->m_pBlockOffsets[81]);
    };
    const std::vector<int> before = offsets();
    EXPECT_EQ(render->UmdSetText(150, 0), 0);
    EXPECT_EQ(offsets(), before);
    EXPECT_EQ(render->m_nFirstBlock + render->m_nCurLine, 0);
    EXPECT_EQ(render->UmdSetText(200, 0), 1) << "the half after the border is left out";
    const unsigned char unit[10242] = {'x'};
    EXPECT_EQ(render->UnicodeToUtf8(nullptr, 2), nullptr);
    for (const int length : {0, 10241}) // more than a segment
        EXPECT_EQ(render->UnicodeToUtf8(unit, length), nullptr);
}

TEST(ContentTest, LayoutOffsetsMapToBlocks) {
    const auto render = OpenText(Novel(30000));
    EXPECT_EQ(render->UmdSetText(20, 0), 1);
    const int start = render->m_pBlockOffsets[2];
    ASSERT_EQ(render->UmdSetText(20, start), 1);
    const struct {
        int offset, found, block, offsetInBlock;
    } rows[] = {{0, 1, 22, 0},
                {5, 1, 22, 5},
                {render->m_pBlockOffsets[79] - start + 5, 1, 99, 5},
                {render->m_pBlockOffsets[80] - start, 0, 99, 5},
                {INT_MAX, 0, 99, 5}};
    int block = 0, offset = 0;
    for (const auto& row : rows) {
        EXPECT_EQ(render->GetBlockInfo(row.offset, &block, &offset), row.found);
        EXPECT_EQ(block * 1000 + offset, row.block * 1000 + row.offsetInBlock) << row.offset;
    }
}

TEST(ContentTest, OffsetOutsideTheTextOrInsideACharacterIsMended) {
    const auto render = OpenText(std::u16string(200, u'字'));
    const struct {
        int offset, start;
    } rows[] = {{3, 3},   {4, 3},   {5, 3},       {6, 6}, {599, 597},
                {600, 0}, {601, 0}, {INT_MAX, 0}, {-1, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(render->UmdSetText(0, row.offset), 1);
        EXPECT_EQ(render->m_nStartOffset, row.start) << row.offset;
        EXPECT_EQ(DrawText(*render).size(), static_cast<std::size_t>(600 - row.start));
    }
}

// --- counting lines, on heights alone -----------------------------------------------------------

class LineCountTest : public testing::Test {
protected:
    // A screen of 100 pixels.
    void Show(std::vector<int> heights, unsigned int spacing = 0) {
        layout = new LinesLayout(std::move(heights));
        layout->SetLineSpacing(spacing);
        render.Initialize(new CountedStream(TextBook(Novel(60000))), layout, path);
        ASSERT_EQ(render.GotoPosition(0.5f), QV_S_OK);
    }

    ProbeRender render;
    LinesLayout* layout = nullptr;
};

TEST_F(LineCountTest, LinesFitByTheirHeightsAndTheSpacingBetween) {
    const struct {
        std::vector<int> heights;
        unsigned int spacing;
        int next0, prevLast;
    } rows[] = {{std::vector<int>(20, 20), 0, 5, 5},  {std::vector<int>(20, 20), 20, 3, 3},
                {std::vector<int>(20, 20), 21, 2, 2}, {std::vector<int>(20, 101), 0, 0, 0},
                {std::vector<int>(20, 100), 9, 1, 1}, {{60, 41, 10, 10, 81, 19, 1}, 0, 1, 2}};
    for (const auto& row : rows) {
        Show(row.heights, row.spacing);
        const int last = static_cast<int>(row.heights.size()) - 1;
        EXPECT_EQ(render.GetNextPageLineNum(0), row.next0);
        EXPECT_EQ(render.GetPrevPageLineNum(last), std::min(row.prevLast, last));
        EXPECT_EQ(render.GetNextPageLineNum(last + 1), 0);
        EXPECT_EQ(render.GetPrevPageLineNum(0), 0);
    }
}

TEST_F(LineCountTest, RoomForTextBeforeTheLayoutTextCallsForAnotherSegment) {
    Show({20, 20, 20, 20, 20, 20});
    EXPECT_EQ(render.GetPrevPageLineNum(4), 0) << "20 pixels left, where a line fits";
    EXPECT_EQ(render.GetPrevPageLineNum(5), 5);
    ASSERT_EQ(render.GotoPosition(0.0f), QV_S_OK);
    EXPECT_EQ(render.GetPrevPageLineNum(4), 4) << "the book begins here";
}

TEST_F(LineCountTest, OffsetsFindTheLineAtOrAfterThem) {
    Show(std::vector<int>(8, 20));
    const struct {
        int offset, line;
    } rows[] = {{-5, 0}, {0, 0}, {1, 1}, {10, 1}, {51, 6}, {70, 7}, {71, 7}, {5000, 7}};
    for (const auto& row : rows)
        EXPECT_EQ(render.GetLineNumByOffset(row.offset), row.line) << row.offset;
}

TEST_F(LineCountTest, LayoutThatCannotAnswerFailsTheTurnAndMovesNothing) {
    Show(std::vector<int>(30, 20));
    ASSERT_EQ(render.GotoNextScreen(), QV_S_OK);
    const int block = render.m_nFirstBlock;
    for (const bool rect : {true, false}) {
        layout->rectAnswers = rect ? 0 : 1000;
        layout->reportsSpacing = rect;
        EXPECT_EQ(render.GetNextPageLineNum(0), -1);
        EXPECT_EQ(render.GotoNextScreen(), QV_E_FAIL);
        EXPECT_EQ(render.GotoPrevScreen(), QV_E_FAIL);
        EXPECT_EQ(render.GotoReadableScreen(-1, rect, nullptr), QV_E_FAIL);
        EXPECT_EQ(render.m_nCurLine, 5);
        EXPECT_EQ(render.m_nFirstBlock, block);
    }
    layout->reportsSpacing = true;
    layout->heights.clear();
    for (const int answer : {0, 1}) {
        layout->answersWithoutLines = answer;
        EXPECT_EQ(render.GotoPosition(0.0f), QV_E_FAIL) << "no lines";
        EXPECT_EQ(render.GotoNextScreen(), QV_E_FAIL);
        EXPECT_EQ(render.m_nCurLine, -1);
    }
    layout->heights = {20};
    DrawText(render);
    EXPECT_EQ(render.m_nCurLine, 0) << "drawing loads text again";
}

// The current line stays in the line table, even when a layout stops answering during a turn.
TEST_F(LineCountTest, LayoutThatStopsAnsweringLeavesALineOfTheTable) {
    for (int answers = 0; answers < 8; ++answers) {
        Show(std::vector<int>(30, 20));
        layout->rectAnswers = answers;
        const QVRESULT turned = render.GotoPrevScreen();
        EXPECT_EQ(turned, answers ? QV_S_OK : QV_E_FAIL);
        EXPECT_GE(render.m_nCurLine, 0);
        EXPECT_LT(render.m_nCurLine, render.m_nLineCount) << answers;
    }
}

TEST_F(LineCountTest, JumpRefusesWhatIsNoFraction) {
    Show({20});
    for (const float refused : {1.5f, -0.1f, std::nanf("")})
        EXPECT_EQ(render.GotoPosition(refused), QV_E_INVALIDARG);
    for (const auto& [fraction, block] : {std::pair(1.0f, 468), {0.5f, 234}, {0.9999f, 467}}) {
        EXPECT_EQ(render.GotoPosition(fraction), QV_S_OK);
        EXPECT_EQ(render.m_nFirstBlock, block);
    }
}

} // namespace
