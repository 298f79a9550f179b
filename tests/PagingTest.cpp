// Paging through whole books with the real layout: every character on exactly one screen, the place
// kept, unreadable text passed over, turns prepared.
#include <algorithm>
#include <initializer_list>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "RenderFixture.h"

using namespace QvFormat;
using namespace fixture;

namespace {

// What can be shown of a book, and where its blocks stand in that. A block that ends inside a
// character cannot be shown; the half that the next one then begins with is left out.
struct BookPlaces {
    explicit BookPlaces(const std::u16string& book) {
        for (std::size_t unit = 0; unit < book.size(); unit += 64) {
            std::u16string block = book.substr(unit, 64);
            blocks.push_back(text.size());
            if ((block.front() & 0xfc00) == 0xdc00)
                block.erase(0, 1);
            const bool isCut = !block.empty() && (block.back() & 0xfc00) == 0xd800;
            cutBytes += isCut ? 128 : 0;
            text += isCut ? "" : umdbook::ToUtf8(block);
        }
    }

    // Where the screen shown begins.
    std::size_t Of(ProbeRender& render) const {
        int block = -1;
        int offset = -1;
        EXPECT_EQ(render.GetCurPosition(&block, &offset), 1);
        return blocks.at(static_cast<std::size_t>(block)) + static_cast<std::size_t>(offset);
    }

    std::string text;
    std::vector<std::size_t> blocks;
    int cutBytes = 0;
};

// Turns, past unreadable text where the turn fails; adds the bytes passed over. A turn loads one
// segment at most.
bool Turn(ProbeRender& render, bool forward, int* passed) {
    TakeLoads(render);
    if ((forward ? render.GotoNextScreen() : render.GotoPrevScreen()) == QV_S_OK) {
        EXPECT_LE(TakeLoads(render), 1);
        return true;
    }
    int over = -1;
    const bool turned = render.GotoReadableScreen(-1, forward, &over) == QV_S_OK;
    *passed += over;
    return turned;
}

// Back to the start, with no text passed over; returns how many bytes stood on two screens.
std::size_t PageBack(ProbeRender& render, const BookPlaces& places, const ScreenSetup& setup) {
    std::size_t twice = 0;
    std::size_t below = places.Of(render);
    int passed = 0;
    while (Turn(render, false, &passed)) {
        const std::size_t place = places.Of(render);
        const std::size_t end = place + DrawText(render, setup).size();
        EXPECT_LT(place, below);
        EXPECT_GE(end, below);
        twice += end - below;
        below = place;
    }
    EXPECT_EQ(below, 0u);
    EXPECT_EQ(passed, places.cutBytes);
    return twice;
}

// Every character on one screen, drawn. Returns how many bytes stood on two going back.
std::size_t ExpectWholeBookBothWays(const std::u16string& text, const ScreenSetup& setup) {
    const auto render = OpenText(text, setup);
    const BookPlaces places(text);
    std::string shown;
    int passed = 0;
    do {
        EXPECT_EQ(places.Of(*render), shown.size());
        shown += DrawText(*render, setup);
    } while (Turn(*render, true, &passed));
    EXPECT_EQ(passed, places.cutBytes);
    EXPECT_EQ(shown == places.text, true) << shown.size() << " bytes shown";
    EXPECT_LT(places.Of(*render), shown.size()) << "a refused turn moves nothing";
    const std::size_t twice = PageBack(*render, places, setup);
    const std::string first = DrawText(*render, setup);
    EXPECT_EQ(first == shown.substr(0, first.size()), true);
    return twice;
}

std::u16string CutCharactersIn(std::u16string text, std::initializer_list<std::size_t> blocks) {
    for (const std::size_t block : blocks)
        text.replace(64 * block + 63, 2, u"\U0001F600");
    return text;
}

// A few signs break differently without what stands before them. In texts of some seeds that makes
// a screen a line longer than counted, were it laid out alone.
std::u16string SignsOfContext(unsigned int seed) {
    const std::u16string signs =
        u"“”‘’「」『』（）()[]{}0123456789.,%$€-—–…!?！？、。:;/\\abcdefghij   \t\u00a0\u00ad\u200b"
        u"\u200d\u0301\u0e01\u0e32\u05d0\u05d1\u05d2\u0627\u0628\u0644中文字符漢字かなカナー々〜"
        u"\u2028\u2060\u3000\u1100\u1161\uac00";
    const auto next = [&seed] { return (seed = seed * 1103515245u + 12345u) >> 16 & 0x7fff; };
    std::u16string text;
    while (text.size() < 15000) {
        for (unsigned int run = next() % 3 ? 1 : 1 + next() % 8; run > 0; --run)
            text += signs[next() % signs.size()];
        if (next() % 150 == 0)
            text += u'\u2029';
    }
    return text;
}

std::u16string Repeated(const std::u16string& text, int times) {
    return times > 0 ? text + Repeated(text, times - 1) : u"";
}

TEST(PagingTest, BooksShowEveryCharacterOnOneScreen) {
    const std::u16string endsBlocks = Repeated(std::u16string(63, u'字') + u'\u2029', 300);
    const struct {
        const char* what;
        std::u16string text;
        ScreenSetup setup;
        bool nothingTwice;
    } rows[] = {
        {"Chinese sample", Sample("art-of-war.txt").Text(), {}, false},
        {"English sample", Sample("alice.txt").Text(), {}, false},
        {"novel", Novel(kNovelBytes), {}, false},
        {"few lines", Novel(60000), {100, 60, "fzlth 18"}, false},
        {"a line of few letters", Novel(20000), {30, 25, "fzlth 18"}, false},
        {"one line", Novel(60000), {600, 22, "fzlth 18"}, false},
        {"two long lines", Novel(60000), {2000, 45, "fzlth 18"}, false},
        {"a segment on a screen", Novel(100000), {1404, 1872, "fzlth 18"}, true},
        {"a segment on half a screen", Novel(100000), {2500, 1872, "fzlth 18"}, true},
        {"an empty line after two screens", Repeated(u"line\u2029", 76), {}, true},
        {"segments that end with an empty line", endsBlocks, {600, 200, "fzlth 18"}, false},
        {"the same on screens of a segment", endsBlocks, {600, 1760, "fzlth 18"}, false},
        {"the same and one pixel", endsBlocks, {600, 1761, "fzlth 18"}, false},
        {"the same on larger ones", endsBlocks, {600, 4000, "fzlth 18"}, false},
        {"breaks by context", SignsOfContext(15), {200, 400, "WenQuanYi Zen Hei 15"}, false},
        {"breaks by context", SignsOfContext(33), {200, 400, "WenQuanYi Zen Hei 15"}, false},
        {"cut", CutCharactersIn(Novel(80000), {3, 4, 90, 172, 500, 623}), {}, false},
        {"cut", CutCharactersIn(Novel(30000), {1, 233}), {2000, 900, "fzlth 18"}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const std::size_t twice = ExpectWholeBookBothWays(row.text, row.setup);
        EXPECT_TRUE(twice == 0 || !row.nothingTwice);
    }
}

TEST(PagingTest, LineTallerThanTheScreenIsSteppedOver) {
    const std::u16string text = Novel(60000);
    const auto render = OpenText(text, {600, 10, "fzlth 18"});
    DrawText(*render);
    EXPECT_EQ(render->GetNextPageLineNum(0), 0);
    int turns = 0;
    while (render->GotoNextScreen() == QV_S_OK)
        ++turns;
    const BookPlaces places(text);
    EXPECT_GT(places.Of(*render) + 200, places.text.size());
    TakeLoads(*render);
    int back = 0;
    while (render->GotoPrevScreen() == QV_S_OK)
        ++back;
    EXPECT_EQ(places.Of(*render), 0u);
    EXPECT_LT(TakeLoads(*render), 10) << "one for each segment, not for each line";
    EXPECT_GT(turns, 500);
    EXPECT_GT(back, 500);
}

// --- the place ----------------------------------------------------------------------------------

class PlaceTest : public testing::Test {
protected:
    PlaceTest() : text(Novel(400000)), places(text), render(OpenText(text)) {
        render->GotoPosition(0.4f);
        for (int turn = 0; turn < 7; ++turn)
            render->GotoNextScreen();
        place = places.Of(*render);
    }

    std::u16string text;
    BookPlaces places;
    std::unique_ptr<ProbeRender> render;
    std::size_t place = 0;
};

// A host's own layout is changed by its setters; the same size again then tells the renderer.
TEST_F(PlaceTest, ChangesOfTheLayoutKeepTheFirstCharacter) {
    ScreenSetup setup;
    const struct {
        unsigned int width, height, fontSize;
        const char* font;
    } rows[] = {{300, 400, 0, nullptr},   {0, 0, 30, nullptr},
                {600, 1200, 0, nullptr},  {600, 1200, 0, "DejaVu Serif 31"},
                {600, 1200, 10, nullptr}, {1404, 1872, 18, "fzlth 14"}};
    for (const auto& row : rows) {
        TakeLoads(*render);
        const int lines = render->m_nLineCount;
        if (row.font)
            render->m_pLayout->SetFontDescription(row.font);
        if (row.width) {
            EXPECT_EQ(render->SetScreenRes(row.width, row.height), QV_S_OK);
            setup = {row.width, row.height, ""};
        }
        if (row.fontSize)
            render->SetFontSize(row.fontSize);
        EXPECT_EQ(TakeLoads(*render), 0) << "nothing is reloaded in the call";
        EXPECT_EQ(places.Of(*render), place);
        DrawText(*render, setup);
        EXPECT_EQ(TakeLoads(*render), 1);
        EXPECT_EQ(places.Of(*render), place);
        EXPECT_NE(render->m_nLineCount, row.font ? lines : -1) << "lines of the new font";
    }
}

TEST_F(PlaceTest, TurnAfterSizeChangeGoesOnFromThePlaceShown) {
    const std::size_t before = place;
    render->SetScreenRes(300, 400);
    EXPECT_EQ(render->GotoNextScreen(), QV_S_OK);
    const std::size_t next = places.Of(*render);
    EXPECT_EQ(render->GotoPrevScreen(), QV_S_OK);
    EXPECT_EQ(places.Of(*render), before);
    EXPECT_EQ(before + DrawText(*render, {300, 400, ""}).size(), next);
    render->SetScreenRes(600, 800);
    EXPECT_EQ(render->GotoPrevScreen(), QV_S_OK);
    EXPECT_LT(places.Of(*render), before);
    EXPECT_GE(places.Of(*render) + DrawText(*render).size(), before);
}

// --- past what cannot be read -------------------------------------------------------------------

TEST(ReadableScreenTest, JumpShowsTheNearestReadableBlock) {
    const auto render = OpenText(CutCharactersIn(Novel(80000), {0, 100, 101, 623}));
    EXPECT_EQ(render->GetBlockCount(), 625);
    const struct {
        int block, forward;
        QVRESULT result;
        int shown, passed;
    } rows[] = {{50, 1, QV_S_OK, 50, 0},          {50, 0, QV_S_OK, 50, 0},
                {100, 1, QV_S_OK, 102, 256},      {101, 0, QV_S_OK, 99, 256},
                {0, 1, QV_S_OK, 1, 128},          {0, 0, QV_E_FAIL, 1, 128},
                {624, 0, QV_S_OK, 624, 0},        {625, 1, QV_E_INVALIDARG, 624, -1},
                {-2, 0, QV_E_INVALIDARG, 624, -1}};
    for (const auto& row : rows) {
        int passed = -1, block = -1, offset = -1;
        EXPECT_EQ(render->GotoReadableScreen(row.block, row.forward, &passed), row.result);
        EXPECT_EQ(passed, row.passed) << row.block;
        EXPECT_EQ(render->GetCurPosition(&block, &offset), 1);
        EXPECT_EQ(block, row.shown) << row.block;
        EXPECT_EQ(offset, 0);
    }
    EXPECT_EQ(render->GotoReadableScreen(100, 1, nullptr), QV_S_OK);
}

TEST(ReadableScreenTest, TextThatIsNotThereIsCounted) {
    const auto blank = OpenText(std::u16string(63, u'x') + u"\U0001F600");
    const auto shorter = Open(TextBook(Novel(20000), {32768, true, true, true, 2000000001}));
    int passed = 0;
    EXPECT_EQ(DrawText(*blank), "");
    EXPECT_EQ(blank->GotoReadableScreen(-1, 1, &passed), QV_E_FAIL);
    EXPECT_EQ(passed, 128);
    EXPECT_EQ(shorter->GotoReadableScreen(15000000, 0, &passed), QV_S_OK);
    EXPECT_NE(DrawText(*shorter), "");
    EXPECT_EQ(shorter->GotoReadableScreen(-1, 1, &passed), QV_E_FAIL);
    EXPECT_EQ(passed, 2000000001 - 156 * 128);
}

// Unpaired halves of characters are no text. 100 and more blocks of them are stepped over going
// back.
TEST(ReadableScreenTest, StepBackLoadsOnUntilItFindsText) {
    const std::u16string none(64 * 100, u'\xdc00');
    const auto render = OpenText(none + Novel(6400) + none + none + Novel(6400));
    ASSERT_EQ(render->GotoPosition(1.0f), QV_S_OK);
    int block = 500, offset = 0, last = 500;
    while (render->GotoPrevScreen() == QV_S_OK) {
        EXPECT_EQ(render->GetCurPosition(&block, &offset), 1);
        EXPECT_LT(block, last);
        last = block;
        EXPECT_NE(DrawText(*render), "");
    }
    EXPECT_EQ(block * 1000 + offset, 100000) << "the first block with text";
}

// --- turns prepared -----------------------------------------------------------------------------

QVRESULT Step(ProbeRender& render, unsigned int kind, unsigned int detail) {
    if (kind < 8)
        return render.GotoNextScreen();
    if (kind < 12)
        return render.GotoPrevScreen();
    if (kind == 12)
        return render.GotoPosition(static_cast<float>(detail) / 999);
    if (kind == 13)
        return render.GotoReadableScreen(-1, detail % 2, nullptr);
    if (kind == 14)
        render.SetFontSize(detail % 30);
    return detail < 500 ? render.SetScreenRes(200 + detail, 100 + detail * 2) : QV_S_OK;
}

// What a renderer shows: where, with which lines, and with which pixels.
std::vector<int> State(ProbeRender& render, bool drawn) {
    std::vector<int> state = {render.m_nFirstBlock, render.m_nStartOffset, render.m_nCurLine};
    for (int line = 0; line < render.m_nLineCount; ++line)
        state.insert(state.end(),
                     {render.m_pLineTable[line].offset, render.m_pLineTable[line].height});
    std::vector<unsigned char> pixels(drawn ? 700 * 1100 : 0);
    if (drawn)
        render.DrawCurScreen({0, pixels.data(), 1100, 700, 700}, 0, 0);
    state.insert(state.end(), pixels.begin(), pixels.end());
    return state;
}

// The same steps with a renderer that now and then prepares the next turn, and with one that never
// does.
TEST(PrepareTest, WalkShowsTheSameScreensWithAndWithout) {
    const std::u16string texts[] = {Sample("art-of-war.txt").Text(), Novel(300000),
                                    CutCharactersIn(Novel(60000), {80, 300}), SignsOfContext(33)};
    for (const std::u16string& text : texts) {
        const auto plain = OpenText(text), preparing = OpenText(text);
        std::mt19937 random(static_cast<unsigned int>(text.size()));
        const auto below = [&random](unsigned int n) { return unsigned(random()) % n; };
        int prepared = 0;
        for (int step = 0; step < (TEST_EMULATED ? 60 : 300); ++step) {
            const unsigned int kind = below(16), detail = below(1000);
            ASSERT_EQ(Step(*plain, kind, detail), Step(*preparing, kind, detail)) << step;
            const bool drawn = below(4) == 0;
            ASSERT_EQ(State(*plain, drawn) == State(*preparing, drawn), true) << step;
            TakeLoads(*preparing);
            if (below(2) == 0 || preparing->PrepareNextScreen() != QV_S_OK)
                continue;
            const int loads = TakeLoads(*preparing);
            prepared += loads;
            EXPECT_LE(loads, 1);
            ASSERT_EQ(State(*plain, false) == State(*preparing, false), true) << step;
            EXPECT_EQ(preparing->PrepareNextScreen(), QV_S_OK);
            const bool isOutdated = !preparing->m_pLineTable;
            if (below(2) == 0) {
                ASSERT_EQ(preparing->GotoNextScreen(), plain->GotoNextScreen()) << step;
            }
            EXPECT_TRUE(isOutdated || TakeLoads(*preparing) == 0) << "the turn only takes over";
        }
        EXPECT_GT(prepared, TEST_EMULATED ? 0 : 3);
    }
}

TEST(PrepareTest, NothingToPrepareIsSaid) {
    ProbeRender closed;
    EXPECT_EQ(closed.PrepareNextScreen(), QV_E_NOTREADY);
    const auto render = OpenText(u"text");
    EXPECT_EQ(render->PrepareNextScreen(), QV_E_FAIL) << "nothing is laid out yet";
    DrawText(*render);
    EXPECT_EQ(render->PrepareNextScreen(), QV_E_FAIL) << "the book ends";
    render->SetScreenRes(600, 800);
    EXPECT_EQ(render->PrepareNextScreen(), QV_S_OK) << "the screen shown is to be laid out first";
}

} // namespace
