#pragma once

#include <vector>

namespace umdview {

// The pixels a screen is drawn into: one byte each, rows without gaps.
struct Image {
    unsigned int width;
    unsigned int height;
    std::vector<unsigned char> pixels;
};

} // namespace umdview
