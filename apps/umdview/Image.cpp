#include "Image.h"

#include <algorithm>
#include <cstdint>

namespace umdview {

void Image::Clear() {
    std::fill(m_pixels.begin(), m_pixels.end(), static_cast<unsigned char>(0));
}

void Image::Invert() {
    for (unsigned char& pixel : m_pixels)
        pixel = static_cast<unsigned char>(255 - pixel);
}

QvFormat::QV_IMAGE Image::View() {
    unsigned char* first = m_pixels.data() + std::size_t{m_nMargin} * m_nWidth + m_nMargin;
    return {0, first, static_cast<std::int32_t>(m_nHeight - 2 * m_nMargin),
            static_cast<std::int32_t>(m_nWidth - 2 * m_nMargin),
            static_cast<std::int32_t>(m_nWidth)};
}

} // namespace umdview
