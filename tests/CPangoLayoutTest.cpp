#include "layout/CPangoLayout.h"

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "RenderFixture.h"

using namespace QvFormat;

namespace {

using Lines = std::vector<QVLayoutLineInfo>;

class CPangoLayoutTest : public testing::Test {
protected:
    Lines Table() {
        QVLayoutLineInfo* table = nullptr;
        unsigned int count = 0;
        if (!layout.GetLineTable(&table, &count))
            return {};
        const std::unique_ptr<QVLayoutLineInfo[]> owner(table);
        return Lines(table, table + count);
    }

    void SetText(const std::string& text) {
        layout.SetText(text.data(), static_cast<int>(text.size()));
    }

    // An image of 255 for "not touched" would hide what drawing adds, so it starts at 0.
    std::vector<unsigned char> Draw(int width, int height, int x, int y, int expected = 1) {
        std::vector<unsigned char> pixels(static_cast<std::size_t>(stride * 900));
        EXPECT_EQ(layout.DrawPageFromLineNo(0, {0, pixels.data(), height, width, stride}, x, y),
                  expected);
        return pixels;
    }

    const int stride = 640;
    CPangoLayout layout{"fzlth 18", 600, 800, 72, 72};
};

const std::string kChinese = "孫子曰：兵者，國之大事，死生之地，存亡之道，不可不察也。";

std::string Repeat(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

TEST_F(CPangoLayoutTest, RefusedConstructionGivesInertObject) {
    CPangoLayout inert[] = {{nullptr, 1, 1, 72, 72},
                            {"fzlth 18", 0, 1, 72, 72},
                            {"fzlth 18", 1, 0, 72, 72},
                            {"fzlth 18", 1, 1, 0, 72},
                            {"fzlth 18", 1, 1, 72, 0}};
    for (CPangoLayout& object : inert) {
        object.SetText("text", 4);
        object.SetIndent(3);
        object.SetLineSpacing(2);
        object.SetTextContinues(1);
        unsigned int count = 7;
        int indent = 7;
        unsigned char pixel = 0;
        EXPECT_EQ(object.GetLineCount(&count), 0);
        EXPECT_EQ(object.GetLayoutRect(nullptr, nullptr), 0);
        EXPECT_EQ(object.GetIndent(&indent), 0);
        EXPECT_EQ(object.DrawPageFromLineNo(0, {0, &pixel, 1, 1, 1}, 0, 0), 0);
        EXPECT_EQ(object.DrawPageFromPageNo(0, {0, &pixel, 1, 1, 1}, 0, 0), 0);
        EXPECT_EQ(count, 7u);
    }
}

// What a getter stores, or -99 when it refuses.
template<typename Value>
int Get(CPangoLayout& layout, int (CPangoLayout::*getter)(Value*)) {
    Value value{};
    return (layout.*getter)(nullptr) == 0 && (layout.*getter)(&value) == 1 ? static_cast<int>(value)
                                                                           : -99;
}

TEST_F(CPangoLayoutTest, PropertiesReadBackAndRefuseNull) {
    layout.SetIndent(-3);
    layout.SetLineSpacing(5);
    layout.SetJustify(1);
    layout.SetWrap(QVLayoutWrapWordChar);
    layout.SetAlignment(static_cast<QVLayoutAlignment>(7));
    layout.SetEllipsize(static_cast<QVLayoutEllipsizeMode>(4));
    layout.SetLayoutRect(0, 50); // refused
    unsigned int width = 0;
    EXPECT_EQ(Get(layout, &CPangoLayout::GetIndent), -3);
    EXPECT_EQ(Get(layout, &CPangoLayout::GetLineSpacing), 5);
    EXPECT_EQ(Get(layout, &CPangoLayout::GetJustify), 1);
    EXPECT_EQ(Get(layout, &CPangoLayout::GetSingleParagraphMode), 0);
    EXPECT_EQ(Get(layout, &CPangoLayout::GetWrap), QVLayoutWrapWordChar);
    EXPECT_EQ(Get(layout, &CPangoLayout::GetAlignment), QVLayoutAlignLeft);
    EXPECT_EQ(Get(layout, &CPangoLayout::GetEllipsize), QVLayoutEllipsizeNone);
    EXPECT_EQ(layout.GetLayoutRect(&width, nullptr) + layout.GetLayoutRect(nullptr, nullptr), 2);
    EXPECT_EQ(width, 600u);
}

TEST_F(CPangoLayoutTest, TextWithoutLinesHasNoTable) {
    unsigned int lines = 9, pages = 9;
    auto* table = reinterpret_cast<QVLayoutLineInfo*>(&lines);
    EXPECT_EQ(layout.GetLineCount(&lines) + layout.GetPageCount(&pages), 2);
    EXPECT_EQ(lines + pages, 0u);
    EXPECT_EQ(layout.GetLineTable(&table, &(lines = 5)), 0);
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(lines, 5u);
    EXPECT_EQ(Draw(600, 800, 0, 0, 0), std::vector<unsigned char>(640 * 900));
}

TEST_F(CPangoLayoutTest, TextLengthBelowOneTakesTheTerminator) {
    for (const int length : {0, -5}) {
        layout.SetText("one\ntwo", length);
        EXPECT_EQ(Table().size(), 2u);
    }
    layout.SetText("one\ntwo", 3);
    layout.SetText(nullptr, 3); // refused
    EXPECT_EQ(Table().size(), 1u);
}

// Fractional heights are rounded up, so that lines counted to fit do fit when they are drawn.
TEST_F(CPangoLayoutTest, LineTableHoldsOffsetsAndHeightsRoundedUp) {
    SetText(kChinese + "\u2029abc\u2029");
    const Lines lines = Table();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].offset, 0);
    EXPECT_EQ(lines[1].offset, static_cast<int>(kChinese.size() + 3));
    EXPECT_EQ(lines[2].offset, static_cast<int>(kChinese.size() + 9));
    EXPECT_EQ(lines[0].height, 22); // 21.1 pixels in this font
}

TEST_F(CPangoLayoutTest, PagesCutWhereTheNextLineNoLongerFits) {
    SetText(Repeat("line\n", 99) + "line");
    const int height = Table()[0].height;
    struct {
        int pageHeight;
        unsigned int spacing;
        int linesPerPage;
    } const rows[] = {
        {33 * height + 32 * 4, 4, 33},
        {33 * height + 32 * 4 - 1, 4, 32},
        {40 * height, 0, 40},
        {40 * height + height - 1, 0, 40},
        {height, 50, 1},
    };
    for (const auto& row : rows) {
        layout.SetLayoutRect(600, static_cast<unsigned int>(row.pageHeight));
        layout.SetLineSpacing(row.spacing);
        unsigned int pages = 0;
        layout.GetPageCount(&pages);
        EXPECT_EQ(pages, static_cast<unsigned int>((99 + row.linesPerPage) / row.linesPerPage));
        EXPECT_EQ(layout.GetPageEndLine(0), row.linesPerPage - 1);
        EXPECT_EQ(layout.GetPageEndLine(99), 99);
        EXPECT_EQ(layout.GetPageEndLine(100), 99);
        EXPECT_EQ(layout.GetPageStartingLine(0), 0);
        EXPECT_EQ(layout.GetPageStartingLine(1), row.linesPerPage);
        EXPECT_EQ(layout.GetPageStartingLine(static_cast<int>(pages)), -1);
    }
}

TEST_F(CPangoLayoutTest, LineTallerThanThePageStandsBehindAnEmptyPage) {
    layout.SetLayoutRect(600, 10);
    SetText("tall");
    unsigned int pages = 0;
    layout.GetPageCount(&pages);
    EXPECT_EQ(pages, 2u);
    EXPECT_EQ(layout.GetPageStartingLine(1), 0);
    EXPECT_EQ(layout.GetPageEndLine(0), -1);
    EXPECT_EQ(Draw(600, 10, 0, 0), std::vector<unsigned char>(640 * 900));
}

TEST_F(CPangoLayoutTest, DrawingAddsInkInsideTheVisiblePartOnly) {
    SetText(Repeat(kChinese, 60));
    const auto whole = Draw(600, 800, 0, 0);
    struct {
        int width, height, x, y;
        int columns, rows; // that may hold ink
        int fromX, fromY;  // the part of the page they show
    } const rows[] = {{600, 800, 100, 50, 500, 750, 100, 50},
                      {640, 850, 0, 0, 600, 800, 0, 0},
                      {300, 200, -40, -30, 260, 170, 0, 0}};
    for (const auto& row : rows) {
        const auto part = Draw(row.width, row.height, row.x, row.y);
        long ink = 0;
        for (int y = 0; y < 900; ++y) {
            for (int x = 0; x < stride; ++x) {
                const bool visible = x < row.columns && y < row.rows;
                const int expected =
                    visible
                        ? whole[static_cast<std::size_t>((y + row.fromY) * stride + x + row.fromX)]
                        : 0;
                ASSERT_EQ(part[static_cast<std::size_t>(y * stride + x)], expected)
                    << x << ' ' << y;
                ink += expected;
            }
        }
        EXPECT_GT(ink, 100000);
    }
}

TEST_F(CPangoLayoutTest, DrawingRefusesBadImagesAndIndices) {
    SetText(kChinese);
    unsigned char pixels[64] = {};
    const QV_IMAGE refused[] = {{0, nullptr, 8, 8, 8}, {0, pixels, 0, 8, 8}, {0, pixels, 8, 0, 8},
                                {0, pixels, 8, 8, 0},  {0, pixels, 8, 9, 8}, {0, pixels, 8, -9, -8},
                                {0, pixels, -8, 8, 8}};
    for (const QV_IMAGE& image : refused)
        EXPECT_EQ(layout.DrawPageFromLineNo(0, image, 0, 0), 0);
    const QV_IMAGE good = {0, pixels, 8, 8, 8};
    for (const QV_POINT at :
         {QV_POINT{600, 0}, {0, 800}, {-8, 0}, {INT_MAX, INT_MAX}, {INT_MIN, 0}})
        EXPECT_EQ(layout.DrawPageFromLineNo(0, good, at.x, at.y), 0);
    EXPECT_EQ(layout.DrawPageFromLineNo(1, good, 0, 0), 0);
    EXPECT_EQ(layout.DrawPageFromPageNo(1, good, 0, 0), 0);
    EXPECT_EQ(layout.DrawPageFromPageNo(0, good, 0, 0), 1);
}

TEST_F(CPangoLayoutTest, PageNumberDrawsAsItsFirstLineDoes) {
    SetText(Repeat(kChinese + "\u2029", 90));
    const int line = (layout.DoLayout(), layout.GetPageStartingLine(1));
    std::vector<unsigned char> byPage(600 * 800), byLine(600 * 800);
    EXPECT_EQ(layout.DrawPageFromPageNo(1, {0, byPage.data(), 800, 600, 600}, 0, 0), 1);
    EXPECT_EQ(layout.DrawPageFromLineNo(static_cast<unsigned int>(line),
                                        {0, byLine.data(), 800, 600, 600}, 0, 0),
              1);
    EXPECT_EQ(byPage, byLine);
    EXPECT_EQ(layout.GetPageStartingLine(1), line);
}

TEST_F(CPangoLayoutTest, ZeroByteInTextHidesNothingBehindIt) {
    SetText(std::string("one\0two\u2029three", 15));
    const Lines lines = Table();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1].offset, 10);
    fixture::TakeDrawings();
    Draw(600, 800, 0, 0);
    EXPECT_EQ(fixture::TakeDrawings()[0].text, "one two\u2029");
}

// Leftmost ink of each of the first lines, which are 21.1 pixels high in this font.
std::vector<int> LeftEdges(const std::vector<unsigned char>& pixels, int stride, int lines) {
    std::vector<int> edges(static_cast<std::size_t>(lines), INT_MAX);
    for (int y = 0; y < 21 * lines; ++y) {
        for (int x = 0; x < stride; ++x) {
            int& edge = edges[static_cast<std::size_t>(y / 21)];
            if (pixels[static_cast<std::size_t>(y * stride + x)] > 60)
                edge = std::min(edge, x);
        }
    }
    return edges;
}

// The indent stands where a paragraph begins and nowhere else, whatever line the page begins with.
TEST_F(CPangoLayoutTest, IndentStandsAtParagraphsOnly) {
    const std::string box = "國";
    SetText(Repeat(box, 50) + "\u2029" + Repeat(box, 50) + "\u2029");
    struct {
        int indent, continues;
        unsigned int line;
        std::vector<int> edges;
    } const rows[] = {{36, 0, 0, {36, 0, 36, 0}}, {36, 0, 1, {0, 36, 0}},
                      {36, 1, 0, {0, 0, 36, 0}},  {-36, 0, 0, {0, 36, 0, 36}},
                      {-36, 0, 1, {36, 0, 36}},   {-36, 1, 0, {36, 36, 0, 36}}};
    for (const auto& row : rows) {
        layout.SetIndent(row.indent);
        layout.SetTextContinues(row.continues);
        std::vector<unsigned char> pixels(600 * 800);
        layout.DrawPageFromLineNo(row.line, {0, pixels.data(), 800, 600, 600}, 0, 0);
        std::vector<int> edges = LeftEdges(pixels, 600, static_cast<int>(row.edges.size()));
        for (int& edge : edges)
            edge = edge / 36 * 36; // ink stands a pixel or two from the character's left edge
        EXPECT_EQ(edges, row.edges) << row.indent << ' ' << row.continues << ' ' << row.line;
        int indent = 0;
        EXPECT_EQ(layout.GetIndent(&indent), 1);
        EXPECT_EQ(indent, row.indent);
    }
}

} // namespace
