#include "layout/CTextFont.h"

#include <climits>
#include <cstddef>
#include <cstring>

#include "base/CUtility.h"
#include "layout/GreyImage.h"

namespace QvFormat {

namespace {

// FreeType's fixed point: 64 units a pixel.
const int kUnitShift = 6;
// FreeType counts the pixels per em in 16 bits. Asked for more it fails, but not before it has
// changed the scale.
const unsigned int kLargestSize = 0xffff;

// The shift rounds towards minus infinity.
int ToPixels(FT_Pos units) {
    return static_cast<int>(units >> kUnitShift);
}

// Bits of a pixel that is one grey level, 0 for a bitmap made of anything else.
unsigned int BitsPerPixel(const FT_Bitmap& bitmap) {
    switch (bitmap.pixel_mode) {
    case FT_PIXEL_MODE_MONO:
        return 1;
    case FT_PIXEL_MODE_GRAY2:
        return 2;
    case FT_PIXEL_MODE_GRAY4:
        return 4;
    case FT_PIXEL_MODE_GRAY:
        return 8;
    default:
        return 0;
    }
}

// A negative pitch means that the rows are stored bottom-up.
const unsigned char* GlyphRow(const FT_Bitmap& bitmap, std::ptrdiff_t row) {
    const std::ptrdiff_t pitch = bitmap.pitch;
    const std::ptrdiff_t above = pitch < 0 ? static_cast<std::ptrdiff_t>(bitmap.rows) - 1 : 0;
    return bitmap.buffer + (row - above) * pitch;
}

// Copies pixels of a glyph's row from `column` on; the first pixel of a byte is in its high bits.
void CopyPixels(unsigned char* to, const unsigned char* row, std::size_t column, std::size_t count,
                unsigned int bitsPerPixel) {
    if (bitsPerPixel == CHAR_BIT) {
        std::memcpy(to, row + column, count);
        return;
    }
    const unsigned int full = (1u << bitsPerPixel) - 1;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t bit = (column + i) * bitsPerPixel;
        const unsigned int shift = CHAR_BIT - bitsPerPixel - bit % CHAR_BIT;
        to[i] = static_cast<unsigned char>((row[bit / CHAR_BIT] >> shift & full) * 255 / full);
    }
}

// Copies what is visible of a bitmap whose top left corner is at (left, top) into the buffer that
// covers `rect`. The corner may lie outside int, the visible part cannot.
void CopyBitmap(unsigned char* buffer, unsigned int stride, const QV_RECT& rect,
                const FT_Bitmap& bitmap, long long left, long long top) {
    const QV_RECT box = {Saturated(left), Saturated(top), Saturated(left + bitmap.width),
                         Saturated(top + bitmap.rows)};
    const QV_RECT visible = CUtility::GetIntersectRect(box, rect);
    const unsigned int bitsPerPixel = BitsPerPixel(bitmap);
    if (CUtility::IsEmptyRect(visible) || !bitsPerPixel)
        return;
    const auto column = static_cast<std::size_t>(visible.left - left);
    const auto count = static_cast<std::size_t>(visible.right - visible.left);
    const auto indent = static_cast<std::size_t>(0LL + visible.left - rect.left);
    for (int y = visible.top; y < visible.bottom; ++y) {
        const auto row = static_cast<std::size_t>(0LL + y - rect.top);
        CopyPixels(buffer + row * stride + indent,
                   GlyphRow(bitmap, static_cast<std::ptrdiff_t>(y - top)), column, count,
                   bitsPerPixel);
    }
}

} // namespace

void FreeTypeReleaser::operator()(FT_Library library) const {
    FT_Done_FreeType(library);
}

void FreeTypeReleaser::operator()(FT_Face face) const {
    FT_Done_Face(face);
}

CTextFont::CTextFont() = default;

CTextFont::~CTextFont() = default;

int CTextFont::LoadFont(const char* path) {
    m_bLoaded = 0;
    if (!path)
        return 0;
    FT_Library library = nullptr;
    if (!m_pLibrary && !FT_Init_FreeType(&library))
        m_pLibrary.reset(library);
    if (!m_pLibrary)
        return 0;
    m_pFace.reset();
    FT_Face face = nullptr;
    if (FT_New_Face(m_pLibrary.get(), path, 0, &face))
        return 0;
    m_pFace.reset(face);
    FT_Select_Charmap(face, FT_ENCODING_UNICODE); // a font without one keeps FreeType's choice
    m_bLoaded = 1;
    return 1;
}

int CTextFont::SetFontSize(unsigned int size) {
    if (!m_bLoaded || size > kLargestSize)
        return 0;
    const auto units = static_cast<FT_F26Dot6>(size) * (1 << kUnitShift);
    return FT_Set_Char_Size(m_pFace.get(), 0, units, 0, 0) == 0;
}

int CTextFont::GetAscender() {
    return m_bLoaded ? ToPixels(m_pFace->size->metrics.ascender) : -1;
}

int CTextFont::GetDescender() {
    return m_bLoaded ? ToPixels(m_pFace->size->metrics.descender) : -1;
}

int CTextFont::GetLineHeight() {
    return m_bLoaded ? ToPixels(m_pFace->size->metrics.height) : -1;
}

int CTextFont::GetMaxCharWidth() {
    return m_bLoaded ? ToPixels(m_pFace->size->metrics.max_advance) : -1;
}

bool CTextFont::RenderGlyph(unsigned int ch) {
    return m_bLoaded && !FT_Load_Char(m_pFace.get(), ch, FT_LOAD_RENDER);
}

int CTextFont::GetCharWidth(unsigned int ch) {
    return RenderGlyph(ch) ? ToPixels(m_pFace->glyph->advance.x) : GetMaxCharWidth();
}

void CTextFont::DrawCharImage(unsigned char* buffer, unsigned int stride, QV_POINT pos,
                              QV_RECT rect, unsigned int ch, int* advance) {
    if (!RenderGlyph(ch))
        return;
    const FT_GlyphSlot glyph = m_pFace->glyph;
    if (advance)
        *advance = ToPixels(glyph->advance.x);
    if (!buffer)
        return;
    const long long left = 0LL + pos.x + glyph->bitmap_left;
    const long long top = 0LL + pos.y + GetAscender() - glyph->bitmap_top - 1;
    CopyBitmap(buffer, stride, rect, glyph->bitmap, left, top);
}

} // namespace QvFormat
