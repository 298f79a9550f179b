#pragma once

#include <ft2build.h>
#include FT_FREETYPE_H

#include "QvRecords.h"

namespace QvFormat {

// The caller's image, checked, cut to what it shows of a page, and as FreeType draws into it.
class GreyImage {
public:
    explicit GreyImage(const QV_IMAGE& image) : m_Image(image) {}

    // Whether it has pixels to draw into.
    bool IsValid() const;

    // Narrows a valid image to the part that shows a page of this size, the image's top left pixel
    // standing at (x, y) of the page. False when it shows nothing of it.
    bool CutToPage(unsigned int pageWidth, unsigned int pageHeight, int x, int y);

    // The pixel of the page on the image's first pixel; (0, 0) before CutToPage.
    QV_POINT Origin() const { return m_Origin; }
    int Height() const { return m_Image.height; }
    FT_Bitmap Bitmap() const;

private:
    QV_IMAGE m_Image;
    QV_POINT m_Origin = {0, 0};
};

} // namespace QvFormat
