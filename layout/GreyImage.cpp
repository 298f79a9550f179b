#include "layout/GreyImage.h"

#include <algorithm>
#include <climits>

#include "base/CUtility.h"

namespace QvFormat {

int Saturated(long long value) {
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

bool IsDrawable(const QV_IMAGE& image) {
    return image.buffer && image.width && image.height && image.stride &&
           image.width <= image.stride;
}

QV_RECT VisiblePart(const QV_IMAGE& image, unsigned int pageWidth, unsigned int pageHeight, int x,
                    int y) {
    const QV_RECT covered = {x, y, Saturated(0LL + x + image.width),
                             Saturated(0LL + y + image.height)};
    return CUtility::GetIntersectRect({0, 0, Saturated(pageWidth), Saturated(pageHeight)}, covered);
}

FT_Bitmap BitmapOn(const QV_IMAGE& image) {
    return {static_cast<unsigned int>(image.height),
            static_cast<unsigned int>(image.width),
            image.stride,
            image.buffer,
            256,
            FT_PIXEL_MODE_GRAY,
            0,
            nullptr};
}

} // namespace QvFormat
