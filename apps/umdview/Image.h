#pragma once

#include <string>
#include <vector>

namespace umdview {

// The pixels a screen is drawn into: one byte each, rows without gaps.
struct Image {
    unsigned int width;
    unsigned int height;
    std::vector<unsigned char> pixels;
};

// Writes the image to the file `path`, as PGM when that ends in ".pgm", else as PNG. It replaces
// the file as a whole: whatever goes wrong, no half-written image stands there. Throws Failure when
// it cannot be written.
void WriteImage(const std::string& path, const Image& image);

} // namespace umdview
