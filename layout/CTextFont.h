#pragma once

#include <memory>

#include "QvExport.h"
#include "QvRecords.h"

// FreeType's own handles, so that hosts need none of its headers.
typedef struct FT_LibraryRec_* FT_Library;
typedef struct FT_FaceRec_* FT_Face;

namespace QvFormat {

// Releases what FreeType handed out.
struct FreeTypeReleaser {
    void operator()(FT_Library library) const;
    void operator()(FT_Face face) const;
};

// Draws single characters with FreeType: one font file at one size, grey glyphs copied into the
// caller's buffer. Each object has a FreeType library of its own.
//
// Lengths are whole pixels; FreeType's fractions are rounded down, so a descender of -4.5 is -5.
class UMDFORMAT_API CTextFont {
public:
    CTextFont();
    ~CTextFont();

    // Loads the first face of a font file, in place of the font before, and looks characters up by
    // Unicode where the font allows. Until SetFontSize, the metrics are what FreeType gives a new
    // face. 1, or 0 when the path is null or no font can be read from it: then none is loaded.
    int LoadFont(const char* path);

    // Pixels per em. 1, or 0 when no font is loaded or FreeType refuses the size, as it does for a
    // bitmap font that lacks it; then the size stays.
    int SetFontSize(unsigned int size);

    // Metrics of the current size, -1 when no font is loaded.
    int GetAscender();
    int GetDescender(); // negative below the baseline
    int GetLineHeight();
    int GetMaxCharWidth();

    // How far the character, a Unicode code point, moves the pen. The font's widest advance when
    // the glyph cannot be rendered, -1 when no font is loaded.
    int GetCharWidth(unsigned int ch);

    // Draws the character. The visible part of its glyph's box replaces what the buffer held there,
    // 0 no ink to 255 full ink; the box stands one row above the baseline's natural place.
    //   buffer   one byte a pixel, the first for the pixel at (rect.left, rect.top); for each row
    //            of rect, `stride` bytes
    //   stride   bytes from one row to the next, at least rect's width
    //   pos      top left corner of the character's cell, in the coordinates of rect
    //   rect     what the buffer covers; nothing is drawn outside it
    //   advance  gets the character's advance, visible or not
    // Nothing is written when no font is loaded or the glyph cannot be rendered. A null buffer or
    // advance leaves that part out. Embedded glyphs of 1, 2 or 4 bits a pixel are spread to 0 to
    // 255; what is not one grey level a pixel is not drawn.
    void DrawCharImage(unsigned char* buffer, unsigned int stride, QV_POINT pos, QV_RECT rect,
                       unsigned int ch, int* advance);

protected:
    UMDFORMAT_HIDDEN bool RenderGlyph(unsigned int ch);

    int m_bLoaded = 0; // a face may be held and yet not count as loaded
    std::unique_ptr<FT_LibraryRec_, FreeTypeReleaser> m_pLibrary; // outlives the face
    std::unique_ptr<FT_FaceRec_, FreeTypeReleaser> m_pFace;
};

static_assert(sizeof(void*) != 4 || sizeof(CTextFont) == 12);

} // namespace QvFormat
