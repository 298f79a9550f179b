// The caller's image, apart from what is drawn into it.
#pragma once

#include <ft2build.h>
#include FT_FREETYPE_H

#include "QvRecords.h"

namespace QvFormat {

// The nearest int.
int Saturated(long long value);

// Whether the image has pixels to draw into.
bool IsDrawable(const QV_IMAGE& image);

// The part of a page that an image shows whose top left pixel stands at (x, y) of the page; empty,
// see CUtility::IsEmptyRect, when it shows nothing of it.
QV_RECT VisiblePart(const QV_IMAGE& image, unsigned int pageWidth, unsigned int pageHeight, int x,
                    int y);

// The image as FreeType draws into it.
FT_Bitmap BitmapOn(const QV_IMAGE& image);

} // namespace QvFormat
