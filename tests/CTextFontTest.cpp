#include "layout/CTextFont.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <gtest/gtest.h>

namespace {

const unsigned char kUntouched = 0x5a;
using Pixels = std::vector<unsigned char>;

// A font whose FreeType face the tests can ask themselves.
class TestFont : public QvFormat::CTextFont {
public:
    bool Load(const char* name, unsigned int size) {
        const auto path = std::filesystem::path(TEST_FONTS_CONF).replace_filename(name);
        return LoadFont(path.c_str()) && SetFontSize(size);
    }
    const FT_GlyphSlotRec& Slot() const { return *m_pFace->glyph; }
    using CTextFont::m_pFace;
    using CTextFont::m_pLibrary;
};

// Draws into a buffer that is not a byte larger than `rect` needs and checks each of its bytes.
void ExpectDrawn(TestFont& font, QV_POINT pos, QV_RECT rect, unsigned int ch) {
    const int width = rect.right - rect.left, stride = width + 3;
    Pixels drawn(static_cast<std::size_t>(stride * (rect.bottom - rect.top)), kUntouched);
    Pixels expected = drawn;
    int advance = -99;
    font.DrawCharImage(drawn.data(), static_cast<unsigned int>(stride), pos, rect, ch, &advance);
    const FT_GlyphSlotRec& glyph = font.Slot();
    const FT_Bitmap& bitmap = glyph.bitmap;
    EXPECT_EQ(advance, glyph.advance.x >> 6);
    const long long ascender = font.m_pFace->size->metrics.ascender >> 6;
    for (int i = 0; i < static_cast<int>(drawn.size()); ++i) {
        const long long x = 0LL + rect.left + i % stride - pos.x - glyph.bitmap_left;
        const long long y = 1LL + rect.top + i / stride - pos.y - ascender + glyph.bitmap_top;
        if (i % stride < width && x >= 0 && x < bitmap.width && y >= 0 && y < bitmap.rows)
            expected[static_cast<std::size_t>(i)] = bitmap.buffer[y * bitmap.pitch + x];
    }
    EXPECT_EQ(drawn, expected) << pos.x << ',' << pos.y << " in " << rect.left << ',' << rect.top
                               << ' ' << rect.right << ',' << rect.bottom;
}

TEST(CTextFontTest, NoFontLoadedAnswersMinusOneAndWritesNothing) {
    TestFont font;
    EXPECT_EQ(font.SetFontSize(16), 0);
    for (const char* refused :
         {"", "/", "/nonexistent.ttf", TEST_FONTS_CONF, static_cast<const char*>(nullptr)}) {
        unsigned char pixel = kUntouched;
        int advance = -1;
        const FT_Library library = font.m_pLibrary.get();
        EXPECT_EQ(font.LoadFont(refused), 0);
        font.DrawCharImage(&pixel, 1, {0, -8}, {0, 0, 1, 1}, 'g', &advance);
        for (int answer : {font.GetAscender(), font.GetDescender(), font.GetLineHeight(),
                           font.GetMaxCharWidth(), font.GetCharWidth('g'), advance})
            EXPECT_EQ(answer, -1);
        EXPECT_EQ(font.SetFontSize(16), 0);
        EXPECT_EQ(pixel, kUntouched);
        EXPECT_EQ(font.m_pFace != nullptr, refused == nullptr);
        EXPECT_TRUE(font.m_pLibrary.get() == library || !library);
        ASSERT_TRUE(font.Load("DejaVuSans.ttf", 16));
    }
}

TEST(CTextFontTest, MetricsAreFreeTypesRoundedDownAndRefusedSizesChangeNone) {
    TestFont font;
    for (const char* name : {"DejaVuSans.ttf", "uming.ttc"}) {
        for (unsigned int size : {1u, 13u, 18u, 37u}) {
            ASSERT_TRUE(font.Load(name, size));
            FT_Size_Metrics& metrics = font.m_pFace->size->metrics;
            const FT_Fixed scale = metrics.y_scale;
            for (unsigned int refused : {65536u, 1u << 26, UINT_MAX})
                EXPECT_EQ(font.SetFontSize(refused), 0) << refused;
            EXPECT_TRUE(metrics.y_ppem == size && metrics.y_scale == scale);
            EXPECT_EQ(font.GetAscender(), metrics.ascender / 64);
            EXPECT_EQ(font.GetLineHeight(), metrics.height / 64);
            EXPECT_EQ(font.GetMaxCharWidth(), metrics.max_advance / 64);
            metrics.descender = -4 * 64 - 32; // these fonts have whole pixels only
            EXPECT_EQ(font.GetDescender(), -5);
            const int width = font.GetCharWidth('m');
            EXPECT_EQ(width, font.Slot().advance.x / 64);
        }
    }
}

TEST(CTextFontTest, GlyphIsCopiedOneRowUpAndClippedToTheRectangleAnywhere) {
    for (const unsigned int ch : {0x67u, 0x20u}) { // "g" and a space
        TestFont font;
        ASSERT_TRUE(font.Load("DejaVuSans.ttf", 24));
        font.GetCharWidth(ch);
        for (int corner : {0, -1000, INT_MIN + 40, INT_MAX - 80}) {
            // Windows of 1 to 40 pixels over, across, beside and inside a glyph of about 20.
            for (int left : {-40, -1, 0, 2, 9, 14, 39})
                for (int top : {-40, -1, 0, 7, 12, 39})
                    for (int size : {1, 5, 40})
                        ExpectDrawn(font, {corner, corner},
                                    {corner + left, corner + top, corner + left + size,
                                     corner + top + size},
                                    ch);
        }
        // Boxes across and beyond the largest coordinate, which comes out at the other end if it
        // goes round.
        const QV_RECT last = {INT_MAX - 30, INT_MAX - 30, INT_MAX, INT_MAX};
        ExpectDrawn(font, {INT_MAX - 5, INT_MAX - 15}, last, ch);
        ExpectDrawn(font, {5, INT_MAX}, {0, INT_MIN, 30, INT_MIN + 30}, ch);
        ExpectDrawn(font, {INT_MAX, 5}, {INT_MIN, 0, INT_MIN + 30, 30}, ch);
        unsigned char pixel = kUntouched;
        int advance = -99; // rectangles that hold nothing, and missing places to write to
        for (QV_RECT none : {QV_RECT{9, 9, 0, 0}, {INT_MAX, INT_MAX, INT_MIN, INT_MIN}})
            font.DrawCharImage(&pixel, 1, {0, 0}, none, ch, &advance);
        font.DrawCharImage(nullptr, 9, {0, 0}, {0, 0, 9, 9}, ch, nullptr);
        EXPECT_EQ(advance, font.GetCharWidth(ch));
        EXPECT_EQ(pixel, kUntouched);
    }
}

} // namespace

// While there is one, FreeType gives this glyph for every character: forms that no font here has.
static const FT_GlyphSlotRec* wanted;
static FT_Error wantedError;

extern "C" FT_Error FT_Load_Char(FT_Face face, FT_ULong character, FT_Int32 flags) {
    static const auto next =
        reinterpret_cast<decltype(&FT_Load_Char)>(dlsym(RTLD_NEXT, "FT_Load_Char"));
    if (!wanted)
        return next(face, character, flags);
    face->glyph->bitmap = wanted->bitmap;
    face->glyph->bitmap_left = wanted->bitmap_left;
    face->glyph->bitmap_top = wanted->bitmap_top;
    return wantedError;
}

namespace {

TEST(CTextFontTest, BitmapOfAnyPixelModeAndRowOrderIsNeverMisread) {
    const struct {
        unsigned char mode;
        int pitch;
        Pixels row, expected; // five pixels; a row without ink follows
    } forms[] = {{FT_PIXEL_MODE_MONO, 1, {0xb7}, {255, 0, 255, 255, 0}},
                 {FT_PIXEL_MODE_GRAY2, 2, {0x1b, 0x40}, {0, 85, 170, 255, 85}},
                 {FT_PIXEL_MODE_GRAY4, 3, {0x0f, 0x80, 0x7f}, {0, 255, 136, 0, 119}},
                 {FT_PIXEL_MODE_GRAY, 6, {1, 2, 3, 4, 5, 0}, {1, 2, 3, 4, 5}},
                 {FT_PIXEL_MODE_LCD, 15, {}, Pixels(10, kUntouched)}};
    TestFont font;
    ASSERT_TRUE(font.Load("DejaVuSans.ttf", 16));
    FT_GlyphSlotRec glyph = {};
    wanted = &glyph;
    for (const auto& form : forms) {
        Pixels expected = form.expected, bytes = form.row, drawn(10, kUntouched);
        expected.resize(10);
        bytes.resize(2 * static_cast<std::size_t>(form.pitch));
        glyph.bitmap = {2, 5, form.pitch, bytes.data(), 256, form.mode, 0, nullptr};
        glyph.bitmap_left = 3;
        glyph.bitmap_top = font.GetAscender() - 1;
        for (int topDown : {1, 0}) {
            font.DrawCharImage(drawn.data(), 5, {-3, 0}, {0, 0, 5, 2}, 'g', nullptr);
            EXPECT_EQ(drawn, expected) << int(form.mode) << ' ' << topDown;
            font.DrawCharImage(drawn.data(), 1, {-3, 0}, {3, 0, 4, 2}, 'g', nullptr);
            EXPECT_EQ(drawn[0], expected[3]) << int(form.mode) << ' ' << topDown;
            glyph.bitmap.pitch = -form.pitch;
            std::rotate(expected.begin(), expected.begin() + 5, expected.end());
        }
    }
    wantedError = FT_Err_Raster_Overflow;
    int advance = -99;
    font.DrawCharImage(nullptr, 5, {0, 0}, {0, 0, 5, 2}, 'g', &advance);
    EXPECT_EQ(advance, -99);
    EXPECT_EQ(font.GetCharWidth('g'), font.GetMaxCharWidth());
    EXPECT_GT(font.GetMaxCharWidth(), 0);
    wanted = nullptr;
}

} // namespace
