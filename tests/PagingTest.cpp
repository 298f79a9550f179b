// Paging through whole books with the real layout: every character on exactly one screen, every
// line counted a line drawn.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "RenderFixture.h"

using namespace QvFormat;
using namespace fixture;

namespace {

// Turns block positions into byte offsets of the book's UTF-8 text.
class BookPlaces {
public:
    explicit BookPlaces(const std::u16string& text) {
        for (std::size_t unit = 0; unit < text.size(); unit += 64) {
            m_blocks.push_back(m_end);
            m_end += umdbook::ToUtf8(text.substr(unit, 64)).size();
        }
    }

    // Where the screen shown begins.
    std::size_t Of(ProbeRender& render) const {
        int block = -1;
        int offset = -1;
        EXPECT_EQ(
            render.GetBlockInfo(render.m_pLineTable[render.m_nCurLine].offset, &block, &offset), 1);
        return m_blocks.at(static_cast<std::size_t>(block)) + static_cast<std::size_t>(offset);
    }

private:
    std::vector<std::size_t> m_blocks;
    std::size_t m_end = 0;
};

struct Screen {
    std::size_t place;
    std::string text;
};

// Lines that the renderer counts for the screen shown, the empty one behind the text left out.
int CountedLines(ProbeRender& render) {
    const int end = render.m_nCurLine + render.GetNextPageLineNum(render.m_nCurLine);
    return std::min(end, render.TextLineCount()) - render.m_nCurLine;
}

void ExpectDrawnAsCounted(ProbeRender& render, const ScreenSetup& setup, std::size_t screen) {
    int lines = 0;
    int bottom = 0;
    for (const Drawing& drawing : TakeDrawings()) {
        EXPECT_GE(drawing.top, bottom) << "screen " << screen;
        lines += drawing.lines;
        bottom = drawing.bottom;
    }
    EXPECT_EQ(lines, CountedLines(render)) << "screen " << screen;
    EXPECT_LE(bottom, static_cast<int>(setup.height)) << "screen " << screen;
}

std::vector<Screen> PageForward(ProbeRender& render, const BookPlaces& places,
                                const ScreenSetup& setup) {
    std::vector<Screen> screens;
    do {
        std::string text = DrawText(render, setup);
        ExpectDrawnAsCounted(render, setup, screens.size());
        screens.push_back({places.Of(render), std::move(text)});
        EXPECT_LE(TakeLoads(render), 1) << "screen " << screens.size();
    } while (render.GotoNextScreen() == QV_S_OK);
    return screens;
}

// Back to the start, with no text passed over; returns how many bytes stood on two screens.
std::size_t PageBack(ProbeRender& render, const BookPlaces& places, const ScreenSetup& setup) {
    std::size_t twice = 0;
    std::size_t below = places.Of(render);
    TakeLoads(render);
    while (render.GotoPrevScreen() == QV_S_OK) {
        EXPECT_LE(TakeLoads(render), 1);
        const std::size_t place = places.Of(render);
        const std::size_t end = place + DrawText(render, setup).size();
        ExpectDrawnAsCounted(render, setup, place);
        EXPECT_LT(place, below);
        EXPECT_GE(end, below);
        twice += end - below;
        below = place;
    }
    EXPECT_EQ(below, 0u);
    return twice;
}

std::size_t ExpectWholeBookBothWays(const std::u16string& text, const ScreenSetup& setup) {
    const auto render = OpenText(text, setup);
    if (!render) {
        ADD_FAILURE() << "the book does not open";
        return 0;
    }
    const BookPlaces places(text);
    const std::vector<Screen> screens = PageForward(*render, places, setup);
    std::string shown;
    for (const Screen& screen : screens) {
        EXPECT_EQ(screen.place, shown.size());
        shown += screen.text;
    }
    EXPECT_EQ(shown == umdbook::ToUtf8(text), true) << shown.size() << " bytes shown";
    EXPECT_EQ(render->GotoNextScreen(), QV_E_FAIL);
    EXPECT_EQ(places.Of(*render), screens.back().place) << "a refused turn moves nothing";
    const std::size_t twice = PageBack(*render, places, setup);
    EXPECT_EQ(render->GotoPrevScreen(), QV_E_FAIL);
    EXPECT_EQ(DrawText(*render, setup), screens.front().text);
    return twice;
}

TEST(PagingTest, SampleBooksShowEveryCharacterOnOneScreen) {
    for (const char* name : {"art-of-war.txt", "alice.txt"}) {
        SCOPED_TRACE(name);
        ExpectWholeBookBothWays(Sample(name).Text(), {});
    }
}

TEST(PagingTest, LongNovelShowsEveryCharacterOnOneScreen) {
    ExpectWholeBookBothWays(Novel(kNovelBytes), {});
}

TEST(PagingTest, LinesDrawnAreLinesCountedInEveryFont) {
    for (const char* font : {"AR PL UMing CN 18", "WenQuanYi Zen Hei 13", "DejaVu Serif 21"}) {
        SCOPED_TRACE(font);
        ScreenSetup setup;
        setup.font = font;
        ExpectWholeBookBothWays(Novel(kNovelBytes / 4), setup);
    }
}

TEST(PagingTest, OddScreenSizesShowEveryCharacterOnOneScreen) {
    struct {
        unsigned int width, height;
        std::size_t bytes;
    } const rows[] = {{100, 60, 60000}, {30, 25, 20000}, {600, 22, 60000}, {2000, 45, 60000}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.width);
        ExpectWholeBookBothWays(Novel(row.bytes), {row.width, row.height, "fzlth 18"});
    }
}

TEST(PagingTest, BookOfExactlyOneSegmentIsLoadedOnce) {
    const auto render = OpenText(Novel(10240));
    DrawText(*render);
    while (render->GotoNextScreen() == QV_S_OK) {
    }
    EXPECT_EQ(TakeLoads(*render), 1);
}

// Each screen is then one segment, going back as well.
TEST(PagingTest, ScreenThatHoldsASegmentShowsNothingTwice) {
    for (const unsigned int width : {1404u, 2500u}) {
        SCOPED_TRACE(width);
        EXPECT_EQ(ExpectWholeBookBothWays(Novel(100000), {width, 1872, "fzlth 18"}), 0u);
    }
}

// A few signs break differently without what stands before them. In each of these texts that makes
// one screen a line longer than counted, were it handed to Pango as it is.
TEST(PagingTest, TextWhoseBreaksDependOnItsContextLosesNoLine) {
    const std::u16string signs =
        u"“”‘’「」『』（）()[]{}0123456789.,%$€-—–…!?！？、。:;/\\abcdefghij   \t\u00a0\u00ad\u200b"
        u"\u200d\u0301\u0e01\u0e32\u05d0\u05d1\u05d2\u0627\u0628\u0644中文字符漢字かなカナー々〜"
        u"\u2028\u2060\u3000\u1100\u1161\uac00";
    for (unsigned int seed : {15, 18, 29, 33}) {
        const auto next = [&seed] { return (seed = seed * 1103515245u + 12345u) >> 16 & 0x7fff; };
        std::u16string text;
        while (text.size() < 15000) {
            for (unsigned int run = next() % 3 ? 1 : 1 + next() % 8; run > 0; --run)
                text += signs[next() % signs.size()];
            if (next() % 150 == 0)
                text += u'\u2029';
        }
        ExpectWholeBookBothWays(text, {200, 400, "WenQuanYi Zen Hei 15"});
    }
}

TEST(PagingTest, EmptyLineBehindTheLastSeparatorMakesNoScreen) {
    std::u16string text;
    for (int line = 0; line < 76; ++line) // two screens of 38 lines
        text += u"line\u2029";
    EXPECT_EQ(ExpectWholeBookBothWays(text, {}), 0u);
    const auto render = OpenText(text);
    DrawText(*render);
    EXPECT_EQ(render->m_nLineCount, 77);
    EXPECT_EQ(render->GotoNextScreen(), QV_S_OK);
    EXPECT_EQ(render->GotoNextScreen(), QV_E_FAIL);
}

// 80 blocks that end with a separator end the laid-out text with an empty line in mid-book.
TEST(PagingTest, SegmentThatEndsWithASeparatorDoesNotEndTheBook) {
    std::u16string text;
    while (text.size() < 64 * 300)
        text += std::u16string(63, u'字') + u'\u2029';
    for (const unsigned int height : {200u, 800u, 1760u, 1761u, 4000u}) {
        SCOPED_TRACE(height);
        ExpectWholeBookBothWays(text, {600, height, "fzlth 18"});
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
    EXPECT_GT(places.Of(*render) + 200, umdbook::ToUtf8(text).size());
    TakeLoads(*render);
    int back = 0;
    while (render->GotoPrevScreen() == QV_S_OK)
        ++back;
    EXPECT_EQ(places.Of(*render), 0u);
    EXPECT_LT(TakeLoads(*render), 10) << "one for each segment, not for each line";
    EXPECT_GT(turns, 500);
    EXPECT_GT(back, 500);
}

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

TEST_F(PlaceTest, SizeOrFontChangeKeepsTheFirstCharacter) {
    ScreenSetup setup;
    const struct {
        unsigned int width, height, fontSize;
    } rows[] = {{300, 400, 0}, {0, 0, 30}, {600, 1200, 0}, {0, 0, 10}, {1404, 1872, 18}};
    for (const auto& row : rows) {
        TakeLoads(*render);
        if (row.width) {
            EXPECT_EQ(render->SetScreenRes(row.width, row.height), QV_S_OK);
            setup = {row.width, row.height, ""};
        }
        if (row.fontSize)
            render->SetFontSize(row.fontSize);
        EXPECT_EQ(TakeLoads(*render), 0) << "nothing is reloaded in the call";
        DrawText(*render, setup);
        ExpectDrawnAsCounted(*render, setup, 0);
        EXPECT_EQ(TakeLoads(*render), 1);
        EXPECT_EQ(places.Of(*render), place);
    }
}

// Not even text further on that cannot be loaded moves the place.
TEST_F(PlaceTest, SizeChangeBeforeDamagedTextKeepsTheFirstCharacter) {
    text.replace(64 * 90 - 1, 2, u"\U0001F600"); // cut by the end of block 89
    render = OpenText(text);
    DrawText(*render);
    while (places.Of(*render) < 2000)
        ASSERT_EQ(render->GotoNextScreen(), QV_S_OK);
    place = places.Of(*render);
    render->SetScreenRes(600, 400);
    EXPECT_NE(DrawText(*render), "");
    EXPECT_EQ(places.Of(*render), place);
}

TEST_F(PlaceTest, TurnAfterSizeChangeGoesOnFromThePlaceShown) {
    const std::size_t before = place;
    render->SetScreenRes(300, 400);
    EXPECT_EQ(render->GotoNextScreen(), QV_S_OK);
    const std::size_t next = places.Of(*render);
    EXPECT_EQ(render->GotoPrevScreen(), QV_S_OK);
    EXPECT_EQ(places.Of(*render), before);
    EXPECT_EQ(before + DrawText(*render, {300, 400, ""}).size(), next);

    TakeLoads(*render);
    render->SetScreenRes(600, 800);
    EXPECT_EQ(render->GotoPrevScreen(), QV_S_OK);
    EXPECT_EQ(TakeLoads(*render), 1);
    EXPECT_LT(places.Of(*render), before);
    EXPECT_GE(places.Of(*render) + DrawText(*render).size(), before);
}

TEST_F(PlaceTest, JumpGoesToTheBlockOfTheFraction) {
    const int blocks = 3125;
    const struct {
        float fraction;
        int block;
    } rows[] = {{0.0f, 0}, {1.0f, blocks - 1}, {0.5f, 1562}, {0.9999f, 3123}};
    for (const auto& row : rows) {
        EXPECT_EQ(render->GotoPosition(row.fraction), QV_S_OK);
        int block = -1;
        int offset = -1;
        render->GetBlockInfo(0, &block, &offset);
        EXPECT_EQ(block, row.block);
        EXPECT_EQ(offset, 0);
    }
    for (const float refused : {1.5f, -0.1f, std::nanf("")}) {
        EXPECT_EQ(render->GotoPosition(refused), QV_E_INVALIDARG);
        EXPECT_EQ(render->m_nFirstBlock, 3123);
    }
}

} // namespace
