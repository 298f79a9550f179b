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
    const auto width = static_cast<std::int32_t>(m_nWidth);
    return {0, m_pixels.data(), static_cast<std::int32_t>(m_nHeight), width, width};
}

} // namespace umdview
