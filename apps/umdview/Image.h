#pragma once

#include <cstddef>
#include <vector>

#include "QvRecords.h"

namespace umdview {

// The pixels a screen is drawn into: one byte each, rows without gaps.
class Image {
public:
    Image(unsigned int width, unsigned int height)
        : m_nWidth(width), m_nHeight(height), m_pixels(std::size_t{width} * height) {}

    unsigned int Width() const { return m_nWidth; }
    unsigned int Height() const { return m_nHeight; }
    const unsigned char* Pixels() const { return m_pixels.data(); }
    std::size_t Size() const { return m_pixels.size(); }

    // No ink anywhere. The library adds ink to what it finds, so clear before every drawing.
    void Clear();

    // Turns coverage (0 no ink, 255 full ink) into dark ink on white, as people read.
    void Invert();

    // The image as the library takes it; the pixels stay here.
    QvFormat::QV_IMAGE View();

private:
    unsigned int m_nWidth;
    unsigned int m_nHeight;
    std::vector<unsigned char> m_pixels;
};

} // namespace umdview
