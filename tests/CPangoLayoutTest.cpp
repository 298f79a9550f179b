#include "layout/CPangoLayout.h"

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pango/pangoft2.h>

#include "FailingMemory.h"
#include "RenderFixture.h"
#include "layout/GreyImage.h"
#include "layout/Paragraphs.h"

using namespace QvFormat;

namespace {

using Lines = std::vector<std::pair<int, int>>; // offset and height
using Pixels = std::vector<unsigned char>;

struct Layout : CPangoLayout {
    using CPangoLayout::CPangoLayout;
    using CPangoLayout::m_pLayout;
    using CPangoLayout::SetText;

    void SetText(const std::string& text) { SetText(text.data(), static_cast<int>(text.size())); }

    Lines Table() {
        QVLayoutLineInfo* table = nullptr;
        unsigned int count = 0;
        if (!GetLineTable(&table, &count))
            return {};
        const std::unique_ptr<QVLayoutLineInfo[]> owner(table);
        Lines lines;
        for (unsigned int i = 0; i < count; ++i)
            lines.push_back({table[i].offset, table[i].height});
        return lines;
    }

    Pixels Page(int line, int width, int height) {
        Pixels pixels(static_cast<std::size_t>(width * height));
        const QV_IMAGE image = {0, pixels.data(), height, width, width};
        EXPECT_EQ(DrawPageFromLineNo(static_cast<unsigned int>(line), image, 0, 0), 1);
        return pixels;
    }
};

class CPangoLayoutTest : public testing::Test {
protected:
    // An image of 255 for "not touched" would hide what drawing adds, so it starts at 0.
    Pixels Draw(int width, int height, int x, int y, int expected = 1) {
        Pixels pixels(static_cast<std::size_t>(stride * 900));
        EXPECT_EQ(layout.DrawPageFromLineNo(0, {0, pixels.data(), height, width, stride}, x, y),
                  expected);
        return pixels;
    }

    const int stride = 640;
    Layout layout{"fzlth 18", 600, 800, 72, 72};
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
        object.SetTextContinues(1);
        unsigned int count = 0;
        unsigned char pixel = 0;
        const QV_IMAGE image = {0, &pixel, 1, 1, 1};
        EXPECT_EQ(object.GetLineCount(&count) + object.GetLineSpacing(&count), 0);
        EXPECT_EQ(object.GetLayoutRect(nullptr, nullptr) + object.DrawTarget(image, 0, 0), 0);
        EXPECT_EQ(object.DrawPageFromLineNo(0, image, 0, 0), 0);
        EXPECT_EQ(object.DrawPageFromPageNo(0, image, 0, 0), 0);
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
    const std::vector<int> values = {
        Get(layout, &CPangoLayout::GetIndent),   Get(layout, &CPangoLayout::GetLineSpacing),
        Get(layout, &CPangoLayout::GetJustify),  Get(layout, &CPangoLayout::GetSingleParagraphMode),
        Get(layout, &CPangoLayout::GetWrap),     Get(layout, &CPangoLayout::GetAlignment),
        Get(layout, &CPangoLayout::GetEllipsize)};
    EXPECT_EQ(values, (std::vector<int>{-3, 5, 1, 0, QVLayoutWrapWordChar, 0, 0}));
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
    EXPECT_EQ(Draw(600, 800, 0, 0, 0), Pixels(640 * 900));
}

TEST_F(CPangoLayoutTest, TextLengthBelowOneTakesTheTerminator) {
    for (const int length : {0, -5}) {
        layout.SetText("one\ntwo", length);
        EXPECT_EQ(layout.Table().size(), 2u);
    }
    layout.SetText("one\ntwo", 3);
    layout.SetText(nullptr, 3); // refused
    EXPECT_EQ(layout.Table().size(), 1u);
}

TEST_F(CPangoLayoutTest, PagesCutWhereTheNextLineNoLongerFits) {
    layout.SetText(Repeat("line\n", 99) + "line");
    const int height = layout.Table()[0].second;
    struct {
        int pageHeight;
        unsigned int spacing;
        int linesPerPage;
    } const rows[] = {{33 * height + 32 * 4, 4, 33},
                      {33 * height + 32 * 4 - 1, 4, 32},
                      {40 * height, 0, 40},
                      {41 * height - 1, 0, 40},
                      {height, 50, 1}};
    for (const auto& row : rows) {
        layout.SetLayoutRect(600, static_cast<unsigned int>(row.pageHeight));
        layout.SetLineSpacing(row.spacing);
        unsigned int pages = 0;
        layout.GetPageCount(&pages);
        EXPECT_EQ(pages, static_cast<unsigned int>((99 + row.linesPerPage) / row.linesPerPage));
        EXPECT_EQ(layout.GetPageEndLine(0), row.linesPerPage - 1);
        EXPECT_EQ(layout.GetPageEndLine(99), 99);
        EXPECT_EQ(layout.GetPageEndLine(1000), 99);
        EXPECT_EQ(layout.GetPageStartingLine(0), 0);
        EXPECT_EQ(layout.GetPageStartingLine(1), row.linesPerPage);
        EXPECT_EQ(layout.GetPageStartingLine(static_cast<int>(pages)), -1);
    }
}

TEST_F(CPangoLayoutTest, EveryAllocationFailingGivesAllLinesOrNoneAndAllLater) {
    layout.SetText(Repeat(kChinese, 60));
    const Lines all = layout.Table();
    g_bFailsOnce = true;
    for (int allocations = 1; allocations < 8; ++allocations) {
        layout.ClearPages();
        g_nAllocationsLeft = allocations;
        const Lines lines = layout.Table();
        g_nAllocationsLeft = -1;
        EXPECT_TRUE(lines.empty() || lines == all) << allocations;
        EXPECT_EQ(layout.Table(), all) << allocations;
    }
    g_bFailsOnce = false;
}

TEST_F(CPangoLayoutTest, LineTallerThanThePageStandsBehindAnEmptyPage) {
    layout.SetLayoutRect(600, 10);
    layout.SetText("tall");
    unsigned int pages = 0;
    layout.GetPageCount(&pages);
    EXPECT_EQ(pages, 2u);
    EXPECT_EQ(layout.GetPageStartingLine(1), 0);
    EXPECT_EQ(layout.GetPageEndLine(0), -1);
    EXPECT_EQ(Draw(600, 10, 0, 0), Pixels(640 * 900));
}

TEST_F(CPangoLayoutTest, DrawingAddsInkInsideTheVisiblePartOnly) {
    layout.SetText(Repeat(kChinese, 60));
    const auto whole = Draw(600, 800, 0, 0);
    struct {
        int width, height, x, y;
        int columns, rows; // that may hold ink
        int fromX, fromY;  // the part of the page they show
    } const rows[] = {{600, 800, 100, 50, 500, 750, 100, 50},
                      {640, 850, 0, 0, 600, 800, 0, 0},
                      {300, 200, -40, -30, 260, 170, 0, 0}};
    for (const auto& row : rows) {
        Pixels expected(whole.size());
        for (int y = 0; y < row.rows; ++y)
            std::copy_n(whole.begin() + (y + row.fromY) * stride + row.fromX, row.columns,
                        expected.begin() + y * stride);
        EXPECT_TRUE(Draw(row.width, row.height, row.x, row.y) == expected) << row.x;
        EXPECT_GT(std::count(expected.begin(), expected.end(), 255), 400);
    }
}

TEST_F(CPangoLayoutTest, DrawingRefusesBadImagesAndIndices) {
    layout.SetText(kChinese);
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

// Pango stops at U+0000, and isolates make a library below it use freed memory.
TEST_F(CPangoLayoutTest, CharactersThatDoHarmAreReplaced) {
    fixture::TakeDrawings();
    layout.SetText(std::string("one\0two\u2066\u2067\u2068\u2069\u206a\u20a8\u2029\u2066", 31));
    EXPECT_EQ(layout.Table().back().first, 28);
    Draw(600, 800, 0, 0);
    EXPECT_EQ(fixture::TakeDrawings()[0].text, "one two\u202a\u202b\u202a\u202c\u206a\u20a8\u2029");
}

TEST_F(CPangoLayoutTest, EveryFontFillsPagesAndNoMore) {
    unsigned int lines = 0, pages = 0;
    layout.SetText(Repeat(kChinese, 60));
    layout.GetLineCount(&lines);
    EXPECT_EQ(lines, layout.Table().size());
    for (const char* font : {"fzlth 36", "AR PL UMing CN 18", "DejaVu Serif 21", "fzlth 7.3"}) {
        const Lines before = layout.Table();
        layout.SetFontDescription(font);
        layout.GetPageCount(&pages);
        EXPECT_NE(layout.Table(), before);
        fixture::TakeDrawings();
        for (unsigned int page = 0; page < pages; ++page) {
            Pixels pixels(600 * 800);
            layout.DrawPageFromPageNo(page, {0, pixels.data(), 800, 600, 600}, 0, 0);
            const int line = layout.GetPageStartingLine(static_cast<int>(page));
            EXPECT_TRUE(pixels == layout.Page(line, 600, 800));
        }
        for (const fixture::Drawing& line : fixture::TakeDrawings())
            EXPECT_LE(line.bottom, 800) << font;
    }
}

TEST_F(CPangoLayoutTest, LongWordIsBrokenBeforeItsInkIsCutOff) {
    const auto inkBeside = [this] {
        Pixels pixels(900 * 100);
        layout.Page(0, 600, 100);
        EXPECT_EQ(layout.DrawTarget({0, pixels.data(), 100, 900, 900}, 0, 0), 1);
        int ink = 0;
        for (std::size_t i = 0; i < pixels.size(); ++i)
            ink += i % 900 >= 600 && pixels[i];
        return ink;
    };
    layout.SetText("short " + Repeat("WMIlfjy", 20));
    EXPECT_GT(inkBeside(), 0);
    layout.SetWrap(QVLayoutWrapWordChar);
    EXPECT_EQ(inkBeside(), 0);
}

// Pango 1.50 ends the process on clusters that hold a line break and are wider than their line.
TEST_F(CPangoLayoutTest, NarrowLinesAndWideIndentsAreReadable) {
    layout.SetWrap(QVLayoutWrapWordChar);
    for (unsigned int width = 1; width <= 600; width += width < 60 ? 1 : 54) {
        for (const int set : {-700, -57, -1, 0, 1, 36, 580, 600, 2000}) {
            layout.SetLayoutRect(width, 800);
            layout.SetIndent(set);
            for (const std::string& text :
                 {std::string(" \u0650\u0669"),
                  "12 " + Repeat("\u0903", 50) + "\u200d \u0903\u0669\t", Repeat(kChinese, 9)}) {
                layout.SetText(text);
                layout.SetTextContinues(set % 2);
                ASSERT_FALSE(layout.Table().empty());
            }
            EXPECT_EQ(Get(layout, &CPangoLayout::GetIndent), set);
            EXPECT_GE(layout.Table()[1].first, width <= 60 ? 3 : 6) << width << ' ' << set;
        }
    }
}

// The same text in a layout with the same settings, drawn at once by Pango alone.
class WholeText {
public:
    WholeText(const Layout& settings, const std::string& text)
        : m_layout(pango_layout_copy(settings.m_pLayout.get())) {
        PangoLayout* layout = m_layout.get();
        const int width = pango_layout_get_width(layout), indent = pango_layout_get_indent(layout);
        int letters = 0;
        pango_layout_set_indent(layout, 0);
        pango_layout_set_width(layout, -1);
        pango_layout_set_text(layout, "mmmm", 4);
        pango_layout_get_size(layout, &letters, nullptr);
        const int limit = std::max(width - letters, 0);
        pango_layout_set_width(layout, width);
        const bool fits = std::abs(indent) <= width / 2;
        pango_layout_set_indent(layout, fits ? indent : std::clamp(indent, -limit, limit));
        pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
        for (GSList* item = pango_layout_get_lines(layout); item; item = item->next) {
            auto* line = static_cast<PangoLayoutLine*>(item->data);
            PangoRectangle logical;
            pango_layout_line_get_extents(line, nullptr, &logical);
            table.push_back({line->start_index, PANGO_PIXELS_CEIL(logical.height)});
            m_heights.push_back(logical.height);
        }
    }

    // The rows that `count` lines fill, drawn with the line `first` at the top.
    Pixels Draw(int first, int count, int width) const {
        const int spacing = pango_layout_get_spacing(m_layout.get());
        int top = 0, height = -spacing;
        for (int line = 0; line < first + count; ++line)
            (line < first ? top : height) += m_heights[static_cast<std::size_t>(line)] + spacing;
        const int rows = std::max(height, 0) / PANGO_SCALE;
        Pixels pixels(static_cast<std::size_t>(rows * width));
        FT_Bitmap bitmap = BitmapOn({0, pixels.data(), rows, width, width});
        pango_ft2_render_layout_subpixel(&bitmap, m_layout.get(), 0, -top);
        return pixels;
    }

    Lines table;

private:
    GObjectPtr<PangoLayout> m_layout;
    std::vector<int> m_heights; // Pango units
};

class PageMatrixTest : public CPangoLayoutTest {
protected:
    int Of(const std::vector<int>& values) { return values[random() % values.size()]; }

    void ApplySettings(Layout& to, int width, unsigned int seed) {
        random.seed(seed);
        to.SetLayoutRect(static_cast<unsigned int>(width), kHeight);
        to.SetIndent(Of({0, 36, 36, 17, -36, -25, 400, -700, 2000}));
        to.SetLineSpacing(static_cast<unsigned int>(Of({0, 0, 3, 10})));
        to.SetAlignment(static_cast<QVLayoutAlignment>(Of({0, 1, 2})));
        to.SetWrap(static_cast<QVLayoutWrapMode>(Of({0, 1, 2})));
        to.SetEllipsize(static_cast<QVLayoutEllipsizeMode>(Of({0, 0, 0, 0, 1, 2, 3})));
        to.SetJustify(Of({0, 1}));
        to.SetSingleParagraphMode(Of({0, 0, 0, 0, 0, 0, 1}));
    }

    // Paragraphs that each take their letters after one of `scripts`, with long words, soft
    // hyphens, tabs and separators of all kinds.
    std::string RandomText(const std::vector<int>& scripts) {
        std::u16string text;
        const int paragraphs = Of({6, 6, 20});
        for (int paragraph = 0; paragraph < paragraphs; ++paragraph) {
            const int first = Of(scripts);
            for (int word = Of({0, 9, 25, 40}); word > 0; --word, text += u' ')
                for (int letter = Of({1, 3, 5, 9, 30}); letter > 0; --letter)
                    text += static_cast<char16_t>(random() % 20
                                                      ? first + Of({0, 1, 4, 6, 9})
                                                      : Of({0xad, 0xff0c, '-', '\t', 0x2028}));
            text += static_cast<char16_t>(Of({'\n', 0x2029, '\r'}));
        }
        return umdbook::ToUtf8(text);
    }

    void ExpectPage(Layout& drawn, int line, const WholeText& whole, int wholeLine, int width) {
        Pixels page = drawn.Page(line, width, kHeight);
        const int count = drawn.GetPageEndLine(line) + 1 - line;
        const Pixels expected = whole.Draw(wholeLine, count, width);
        page.resize(expected.size());
        EXPECT_TRUE(page == expected) << "line " << wholeLine;
    }

    static constexpr int kHeight = 150;
    static constexpr unsigned int kSeeds = 25;
    std::mt19937 random;
};

TEST_F(PageMatrixTest, PagesAreCutFromTheWholeText) {
    // The last part of a text is drawn too, where its direction does not depend on the first.
    const std::vector<int> scripts[] = {{0x4e00, 0x5d0, 'a', '0'}, {0x4e00, 'a'}, {0x5d0}};
    Layout part("fzlth 18", 600, 800, 72, 72);
    for (unsigned int seed = 1; seed <= kSeeds; ++seed) {
        SCOPED_TRACE(seed);
        const int width = std::vector<int>{90, 137, 200, 301, 600}[seed % 5];
        ApplySettings(part, width, seed);
        ApplySettings(layout, width, seed);
        const std::string text = RandomText(scripts[seed % 3]);
        layout.SetText(text);
        const WholeText whole(layout, text);
        ASSERT_EQ(layout.Table(), whole.table);
        const int lines = static_cast<int>(whole.table.size());
        for (int line = 0; line < lines; line = layout.GetPageEndLine(line) + 1) {
            ExpectPage(layout, line, whole, line, width);
            const int offset = whole.table[static_cast<std::size_t>(line)].first;
            part.SetText(text.substr(static_cast<std::size_t>(offset)));
            part.SetTextContinues(offset > 0 && !EndsParagraph(text.data(), offset));
            if (seed % 3 > 0 && line < lines - 1 &&
                !Get(layout, &CPangoLayout::GetSingleParagraphMode))
                ExpectPage(part, 0, whole, line, width);
        }
        EXPECT_EQ(layout.Table(), whole.table);
    }
}

// Pango gives them that of the letters before, or of the first letters after.
TEST_F(PageMatrixTest, ParagraphsWithoutLettersHaveTheDirectionOfOthers) {
    const std::string digits = Repeat("12 34\n", 700), hebrew = Repeat("\u05d0\u05d1 ", 500) + '\n';
    layout.SetLayoutRect(600, kHeight);
    for (const std::string& text : {digits + hebrew, hebrew + digits}) {
        layout.SetText(text);
        const WholeText whole(layout, text);
        ASSERT_EQ(layout.Table(), whole.table);
        for (int line = 0; line < static_cast<int>(whole.table.size());
             line = layout.GetPageEndLine(line) + 1)
            ExpectPage(layout, line, whole, line, 600);
    }
}

} // namespace
