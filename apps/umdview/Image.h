#pragma once

#include <cstddef>
#include <vector>

#include "QvRecords.h"

namespace umdview {

// The pixels a screen is drawn into: one byte each, rows without gaps.
class Image {
public:
    // All four in pixels; the margin runs along each side.
    Image(unsigned int width, unsigned int height, unsigned int margin)
        : m_nWidth(width), m_nHeight(height), m_nMargin(margin),
          m_pixels(std::size_t{width} * height) {}

    unsigned int Width() const { return m_nWidth; }
    unsigned int Height() const { return m_nHeight; }
    const unsigned char* Pixels() const { return m_pixels.data(); }
    std::size_t Size() const { return m_pixels.size(); }

    // No ink anywhere. The library adds ink to what it finds, so clear before every drawing.
    void Clear();

    // Turns coverage (0 no ink, 255 full ink) into dark ink on white, as people read.
    void Invert();

    // What lies within the margins, as the library takes it: fewer pixels a row than lie between
    // the beginnings of two rows. The pixels stay here.
    QvFormat::QV_IMAGE View();

private:
    unsigned int m_nWidth;
    unsigned int m_nHeight;
    unsigned int m_nMargin;
    std::vector<unsigned char> m_pixels;
};

} // namespace umdview
