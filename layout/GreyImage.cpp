#include "layout/GreyImage.h"

#include <algorithm>
#include <climits>

#include "base/CUtility.h"

namespace QvFormat {

namespace {

int Saturated(long long value) {
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

} // namespace

bool GreyImage::IsValid() const {
    return m_Image.buffer && m_Image.width && m_Image.height && m_Image.stride &&
           m_Image.width <= m_Image.stride;
}

bool GreyImage::CutToPage(unsigned int pageWidth, unsigned int pageHeight, int x, int y) {
    const QV_RECT page = {0, 0, Saturated(pageWidth), Saturated(pageHeight)};
    const QV_RECT image = {x, y, Saturated(0LL + x + m_Image.width),
                           Saturated(0LL + y + m_Image.height)};
    const QV_RECT visible = CUtility::GetIntersectRect(page, image);
    m_Image.width = visible.right - visible.left;
    m_Image.height = visible.bottom - visible.top;
    m_Origin = {visible.left, visible.top};
    return !CUtility::IsEmptyRect(visible);
}

FT_Bitmap GreyImage::Bitmap() const {
    FT_Bitmap bitmap = {};
    bitmap.rows = static_cast<unsigned int>(m_Image.height);
    bitmap.width = static_cast<unsigned int>(m_Image.width);
    bitmap.pitch = m_Image.stride;
    bitmap.buffer = m_Image.buffer;
    bitmap.num_grays = 256;
    bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
    return bitmap;
}

} // namespace QvFormat
