// Pages as they are drawn, beside the whole text drawn at once with Pango alone.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pango/pangoft2.h>

#include "RenderFixture.h"
#include "layout/GObjectPtr.h"

using namespace QvFormat;

namespace {

constexpr int kPageHeight = 150;
using Pixels = std::vector<unsigned char>;
using Lines = std::vector<std::pair<int, int>>; // offset and height

struct Setting {
    int width, indent, spacing, align, wrap, ellipsize, justify, single;
};

// What a layout of this library does, by Pango calls alone.
class BareLayout {
public:
    BareLayout(const Setting& setting, const std::string& text) {
        m_map.reset(pango_ft2_font_map_new());
        pango_ft2_font_map_set_resolution(PANGO_FT2_FONT_MAP(m_map.get()), 72, 72);
        m_context.reset(pango_font_map_create_context(m_map.get()));
        PangoLayout* layout = pango_layout_new(m_context.get());
        m_layout.reset(layout);
        PangoFontDescription* font = pango_font_description_from_string("fzlth 18");
        pango_layout_set_font_description(layout, font);
        pango_font_description_free(font);
        pango_layout_set_text(layout, "mmmm", 4);
        int letters = 0;
        pango_layout_get_size(layout, &letters, nullptr);
        const int limit = std::max(setting.width * PANGO_SCALE - letters, 0);
        pango_layout_set_indent(layout, std::clamp(setting.indent * PANGO_SCALE, -limit, limit));
        pango_layout_set_width(layout, setting.width * PANGO_SCALE);
        pango_layout_set_spacing(layout, setting.spacing * PANGO_SCALE);
        pango_layout_set_alignment(layout, static_cast<PangoAlignment>(setting.align));
        pango_layout_set_wrap(layout, static_cast<PangoWrapMode>(setting.wrap));
        pango_layout_set_ellipsize(layout, static_cast<PangoEllipsizeMode>(setting.ellipsize));
        pango_layout_set_justify(layout, setting.justify);
        pango_layout_set_single_paragraph_mode(layout, setting.single);
        pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    }

    Lines Table() const {
        Lines table;
        for (GSList* item = pango_layout_get_lines(m_layout.get()); item; item = item->next) {
            auto* line = static_cast<PangoLayoutLine*>(item->data);
            table.push_back({line->start_index, PANGO_PIXELS_CEIL(Height(line))});
        }
        return table;
    }

    // The rows that the lines from `first` to `last` fill, of the whole text drawn with `first` at
    // the top.
    Pixels Draw(int first, int last, int width) const {
        int top = 0, bottom = 0;
        for (int i = 0; i <= last; ++i) {
            bottom += Height(pango_layout_get_line(m_layout.get(), i));
            top = i < first ? bottom += pango_layout_get_spacing(m_layout.get()) : top;
            bottom += i >= first && i < last ? pango_layout_get_spacing(m_layout.get()) : 0;
        }
        const int rows = (bottom - top) / PANGO_SCALE;
        Pixels pixels(static_cast<std::size_t>(width * rows));
        FT_Bitmap bitmap = {};
        bitmap.rows = static_cast<unsigned int>(rows);
        bitmap.width = static_cast<unsigned int>(width);
        bitmap.pitch = width;
        bitmap.buffer = pixels.data();
        bitmap.num_grays = 256;
        bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
        pango_ft2_render_layout_subpixel(&bitmap, m_layout.get(), 0, -top);
        return pixels;
    }

private:
    static int Height(PangoLayoutLine* line) {
        PangoRectangle logical;
        pango_layout_line_get_extents(line, nullptr, &logical);
        return logical.height;
    }

    GObjectPtr<PangoFontMap> m_map;
    GObjectPtr<PangoContext> m_context;
    GObjectPtr<PangoLayout> m_layout;
};

Lines TableOf(CPangoLayout& layout) {
    QVLayoutLineInfo* table = nullptr;
    unsigned int count = 0;
    if (!layout.GetLineTable(&table, &count))
        return {};
    const std::unique_ptr<QVLayoutLineInfo[]> owner(table);
    Lines lines;
    for (unsigned int i = 0; i < count; ++i)
        lines.push_back({table[i].offset, table[i].height});
    return lines;
}

std::unique_ptr<CPangoLayout> NewLayout(const Setting& setting, const std::string& text) {
    auto layout = std::make_unique<CPangoLayout>(
        "fzlth 18", static_cast<unsigned int>(setting.width), kPageHeight, 72, 72);
    layout->SetIndent(setting.indent);
    layout->SetLineSpacing(static_cast<unsigned int>(setting.spacing));
    layout->SetAlignment(static_cast<QVLayoutAlignment>(setting.align));
    layout->SetWrap(static_cast<QVLayoutWrapMode>(setting.wrap));
    layout->SetEllipsize(static_cast<QVLayoutEllipsizeMode>(setting.ellipsize));
    layout->SetJustify(setting.justify);
    layout->SetSingleParagraphMode(setting.single);
    layout->SetText(text.data(), static_cast<int>(text.size()));
    return layout;
}

Pixels DrawPage(CPangoLayout& layout, int line, int width) {
    Pixels pixels(static_cast<std::size_t>(width * kPageHeight));
    EXPECT_EQ(layout.DrawPageFromLineNo(static_cast<unsigned int>(line),
                                        {0, pixels.data(), kPageHeight, width, width}, 0, 0),
              1);
    return pixels;
}


class Random {
public:
    explicit Random(unsigned int seed) : m_random(seed) {}
    int Below(int n) { return static_cast<int>(m_random() % static_cast<unsigned int>(n)); }
    template<typename T>
    T Of(std::initializer_list<T> values) {
        return values.begin()[Below(static_cast<int>(values.size()))];
    }

private:
    std::mt19937 m_random;
};

Setting RandomSetting(Random& random) {
    Setting s;
    s.width = random.Of({90, 137, 200, 301, 600});
    s.indent = random.Of({0, 36, 36, 17, -36, -25, 400, -700, 2000});
    s.spacing = random.Of({0, 0, 3, 10});
    s.align = random.Below(3);
    s.wrap = random.Below(3);
    s.ellipsize = random.Of({0, 0, 0, 0, 1, 2, 3});
    s.justify = random.Below(2);
    s.single = random.Below(8) == 0;
    return s;
}

// Paragraphs in Chinese, English, Hebrew and digits, with long words, soft hyphens and separators of
// all kinds.
std::string RandomText(Random& random, int paragraphs, int from = 0, int scripts = 5) {
    std::string text;
    for (; paragraphs > 0; --paragraphs) {
        const int script = from + random.Below(scripts);
        for (int word = random.Below(40); word > 0; --word) {
            for (int letter = 1 + random.Below(random.Below(12) ? 9 : 40); letter > 0; --letter) {
                if (script < 2)
                    text += std::string{'\xe4', static_cast<char>(0xb8 + random.Below(4)), static_cast<char>(0x80 + random.Below(64))};
                else if (script == 2)
                    text += std::string{'\xd7', static_cast<char>(0x90 + random.Below(26))};
                else
                    text += static_cast<char>((script == 3 ? 'a' : '0') + random.Below(script == 3 ? 26 : 10));
                if (random.Below(25) == 0)
                    text += random.Of({"\u00ad", "，", "“", "-", "\t", "\u2028"});
            }
            text += script < 2 ? random.Of({"，", "。", ""}) : " ";
        }
        text += random.Of({"\n", "\u2029", "\u2029", "\r\n", "\r"});
    }
    return text;
}

TEST(PageDrawingTest, PagesAreCutFromTheWholeText) {
    int pages = 0, different = 0, tables = 0;
    const int seeds = getenv("SEEDS") ? atoi(getenv("SEEDS")) : 60;
    for (unsigned int seed = 1; seed <= static_cast<unsigned>(seeds); ++seed) {
        Random random(seed);
        const Setting setting = RandomSetting(random);
        const std::string text = RandomText(random, 6);
        const BareLayout bare(setting, text);
        const auto layout = NewLayout(setting, text);
        const Lines lines = TableOf(*layout);
        tables += lines == bare.Table();
        if (!(lines == bare.Table())) { printf("table %u\n", seed); continue; }
        const int width = setting.width + 20;
        for (int line = 0; line < static_cast<int>(lines.size());
             line = layout->GetPageEndLine(line) + 1) {
            const Pixels whole = bare.Draw(line, layout->GetPageEndLine(line), setting.width);
            Pixels page = DrawPage(*layout, line, setting.width);
            (void)width;
            page.resize(whole.size());
            ++pages;
            if (page != whole) {
                ++different;
                auto at = std::mismatch(page.begin(), page.end(), whole.begin()).first - page.begin();
                printf("seed %u line %d of %zu, page end %d at %ld,%ld of rows %zu: w%d i%d s%d a%d wr%d e%d j%d s%d\n", seed, line, lines.size(), layout->GetPageEndLine(line), at % setting.width, at / setting.width, whole.size()/setting.width, setting.width, setting.indent, setting.spacing, setting.align, setting.wrap, setting.ellipsize, setting.justify, setting.single);
            }
        }
    }
    printf("%d pages, %d different, %d tables\n", pages, different, tables);
    EXPECT_EQ(different, 0);
}

TEST(PageDrawingTest, RestOfAParagraphIsDrawnAsInTheWholeText) {
    int pages = 0, different = 0, tables = 0, same = 0;
    const int seeds = getenv("SEEDS") ? atoi(getenv("SEEDS")) : 60;
    for (unsigned int seed = 1; seed <= static_cast<unsigned>(seeds); ++seed) {
        Random random(seed);
        const Setting setting = RandomSetting(random);
        const std::string text = (random.Below(3) ? (random.Below(2) ? RandomText(random, 6, 0, 2) : RandomText(random,6,3,1)) : RandomText(random, 6, 2, 1));
        const BareLayout bare(setting, text);
        const Lines lines = bare.Table();
        for (int line = 1; line < static_cast<int>(lines.size()); line += 1 + random.Below(9)) {
            const std::string before = text.substr(0, lines[line].first);
            const std::string rest = text.substr(lines[line].first);
            if (rest.empty()) break;
            const auto layout = NewLayout(setting, rest);
            layout->SetTextContinues(setting.single || !(before.back() == '\n' || before.back() == '\r' || (before.size() > 2 && before.substr(before.size() - 3) == "\u2029")));
            Lines mine = TableOf(*layout);
            for (auto& l : mine) l.first += lines[line].first;
            ++tables;
            if (!std::equal(mine.begin(), mine.end(), lines.begin() + line, lines.end())) { printf("table seed %u line %d w%d i%d s%d a%d wr%d e%d j%d s%d\n", seed, line, setting.width, setting.indent, setting.spacing, setting.align, setting.wrap, setting.ellipsize, setting.justify, setting.single); continue; }
            ++same;
            const int end = layout->GetPageEndLine(0);
            const Pixels whole = bare.Draw(line, line + end, setting.width);
            Pixels page = DrawPage(*layout, 0, setting.width);
            page.resize(whole.size());
            ++pages;
            if (page != whole) {
                ++different;
                auto at = std::mismatch(page.begin(), page.end(), whole.begin()).first - page.begin();
                printf("seed %u line %d of %zu, page end %d at %ld,%ld of rows %zu: w%d i%d s%d a%d wr%d e%d j%d s%d\n", seed, line, lines.size(), end, at % setting.width, at / setting.width, whole.size()/setting.width, setting.width, setting.indent, setting.spacing, setting.align, setting.wrap, setting.ellipsize, setting.justify, setting.single);
            }
        }
    }
    printf("%d pages, %d different, %d of %d tables\n", pages, different, same, tables);
    EXPECT_EQ(different, 0);
}

} // namespace
